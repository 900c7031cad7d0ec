// What the gallery shows: every kit drawing at two sizes, every widget in its states.
#include "HWCDrawingView.h"
#include "HWCGallery.h"
#include "HWCGalleryKit.h"
#include "HWCSourceCollectionGallery.h"
#include "HWIStyleKit.h"
#include "HWIToolbarView.h"
#include "HWIWindowBackgroundView.h"
#include "ui/controls/HWCHoverButtonCell.h"
#include "ui/controls/HWIBigButtonCell.h"
#include "ui/controls/HWIProgressIndicator.h"
#include "ui/drawing/HWCBackgroundView.h"
#include "ui/drawing/HWCRibbonView.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/drawing/HWLStylekit.h"

#include <QCoreApplication>
#include <QEnterEvent>

namespace {

using Drawing = HWCDrawingIconEngine::Drawing;
using Kit = HWCStyleKit;

class EntryList {
public:
    // The drawing at its everyday size and enlarged: icons three times, areas twice.
    void drawing(const QString &section, const QString &name, QSize size, const Drawing &draw)
    {
        for (int scale : {1, size.width() > 100 ? 2 : 3}) {
            const QSize scaled = size * scale;
            m_entries.append(
                {section,
                 QStringLiteral("%1 %2x%3").arg(name).arg(scaled.width()).arg(scaled.height()),
                 [scaled, draw] { return new HWCDrawingView(scaled, draw); }});
        }
    }

    // An image method's icon, rendered through the icon at two sizes.
    void image(const QString &name, QSize size, const QIcon &icon)
    {
        drawing(QStringLiteral("Images"), name, size,
                [icon](QPainter &painter, const QRectF &frame) {
                    icon.paint(&painter, frame.toRect());
                });
    }

    void widget(const QString &section, const QString &name, std::function<QWidget *()> make)
    {
        m_entries.append({section, name, std::move(make)});
    }

    QList<HWCGalleryEntry> take() { return std::move(m_entries); }

private:
    QList<HWCGalleryEntry> m_entries;
};

template <typename Draw> Drawing colored(Draw draw, const QColor &color)
{
    return [draw, color](QPainter &painter, const QRectF &frame) { draw(painter, frame, color); };
}

// What an image method of the kits makes of the drawing.
QIcon icon(QSizeF size, const Drawing &draw)
{
    return HWCDrawingIconEngine::icon(size, draw);
}

void drawDone(QPainter &painter, const QRectF &frame)
{
    HWCGalleryKit::drawDoneButtonWithFrame(painter, frame, Kit::successGradient());
}

void addStyleKit(EntryList &list)
{
    const QString kit = QStringLiteral("HWCStyleKit");
    const QColor grey = Kit::uIButtonBackgroundColor();
    list.drawing(kit, "EmptyDropZoneView", {240, 160}, Kit::drawEmptyDropZoneViewWithFrame);
    list.drawing(kit, "ActiveDropZoneView", {240, 160}, Kit::drawActiveDropZoneViewWithFrame);
    list.drawing(kit, "BackgroundView", {120, 60}, Kit::drawBackgroundViewWithFrame);
    list.drawing(kit, "Quicklook", {20, 20}, colored(HWCGalleryKit::drawQuicklookWithFrame, grey));
    list.drawing(kit, "IconOpenInFinder", {20, 20},
                 colored(HWCGalleryKit::drawIconOpenInFinderWithFrame, grey));
    list.drawing(kit, "IconCancel", {20, 20}, colored(Kit::drawIconCancelWithFrame, grey));
    list.drawing(kit, "CancelButton", {40, 20}, [grey](QPainter &painter, const QRectF &frame) {
        HWCGalleryKit::drawCancelButtonWithFrame(painter, frame, grey, 4);
    });
    list.drawing(kit, "EjectButton", {24, 24}, HWCGalleryKit::drawEjectButtonWithFrame);
    list.drawing(kit, "EjectButtonBussy", {24, 24}, HWCGalleryKit::drawEjectButtonBussyWithFrame);
    list.drawing(kit, "DoneButton", {28, 28}, [](QPainter &painter, const QRectF &frame) {
        HWCGalleryKit::drawDoneButtonWithFrame(painter, frame, Kit::successGradient());
    });
    list.drawing(kit, "BigButton", {140, 36}, [](QPainter &painter, const QRectF &frame) {
        Kit::drawBigButtonWithFrame(painter, frame, Kit::startButtonGradient());
    });
    list.drawing(kit, "ProgressBarTrack", {160, 10}, [](QPainter &painter, const QRectF &frame) {
        Kit::drawProgressBarTrackWithFrame(painter, frame, 5);
    });
    list.drawing(kit, "ProgressBar", {160, 10}, [](QPainter &painter, const QRectF &frame) {
        Kit::drawProgressBarWithFrame(painter, frame, Kit::defaultGradient(), 5);
    });
    list.drawing(kit, "SubProgressBar", {160, 10}, [](QPainter &painter, const QRectF &frame) {
        Kit::drawSubProgressBarWithFrame(painter, frame, Kit::warningGradient(), 5);
    });
    list.drawing(kit, "AlphaRibbon", {38, 38}, Kit::drawAlphaRibbonWithFrame);
    list.drawing(kit, "BetaRibbon", {38, 38}, Kit::drawBetaRibbonWithFrame);
}

void addImages(EntryList &list)
{
    const QColor grey = Kit::uIButtonBackgroundColor();
    const QColor pressed = Kit::uIButtonBackgroundColorHighlighted();
    list.image("imageOfQuicklook", {20, 20},
               icon({20, 20}, colored(HWCGalleryKit::drawQuicklookWithFrame, grey)));
    list.image("imageOfIconOpenInFinder", {20, 20},
               icon({20, 20}, colored(HWCGalleryKit::drawIconOpenInFinderWithFrame, grey)));
    list.image("imageOfIconCancel", {20, 20}, Kit::imageOfIconCancelWithSize({20, 20}, grey));
    list.image("imageOfIconCancel pressed", {20, 20},
               Kit::imageOfIconCancelWithSize({20, 20}, pressed));
    list.image("imageOfCancelButton", {40, 20},
               icon({40, 20}, [grey](QPainter &painter, const QRectF &frame) {
                   HWCGalleryKit::drawCancelButtonWithFrame(painter, frame, grey, 4);
               }));
    list.image("imageOfEjectButton", {24, 24},
               icon({24, 24}, HWCGalleryKit::drawEjectButtonWithFrame));
    list.image("imageOfEjectButtonBussy", {24, 24},
               icon({24, 24}, HWCGalleryKit::drawEjectButtonBussyWithFrame));
    list.image("imageOfDoneButton", {28, 28}, icon({28, 28}, drawDone));
}

void addOtherKits(EntryList &list)
{
    const QString small = QStringLiteral("HWLStylekit");
    const QColor line = HWLStylekit::lineColor();
    list.drawing(small, "DropZoneView", {240, 160}, HWLStylekit::drawDropZoneViewWithFrame);
    list.drawing(small, "ProgressBarTrack", {160, 10}, [](QPainter &painter, const QRectF &frame) {
        HWCGalleryKit::drawProgressBarTrackWithFrame(painter, frame, HWCGalleryKit::trackGradient(),
                                                     5);
    });
    list.drawing(small, "Checkbox", {16, 16}, colored(HWCGalleryKit::drawCheckboxWithFrame, line));
    list.drawing(small, "CheckboxChecked", {16, 16},
                 colored(HWCGalleryKit::drawCheckboxCheckedWithFrame, line));
    list.drawing(small, "CheckboxSemiChecked", {16, 16},
                 colored(HWCGalleryKit::drawCheckboxSemiCheckedWithFrame, line));
    list.drawing(small, "IconUp", {16, 16}, colored(HWCGalleryKit::drawIconUpWithFrame, line));
    list.drawing(small, "IconDown", {16, 16}, colored(HWCGalleryKit::drawIconDownWithFrame, line));
    list.drawing(small, "IconLeft", {16, 16}, colored(HWCGalleryKit::drawIconLeftWithFrame, line));
    list.drawing(small, "IconRight", {16, 16},
                 colored(HWCGalleryKit::drawIconRightWithFrame, line));

    const QString shared = QStringLiteral("HWIStyleKit");
    list.drawing(shared, "WindowBackgroundView", {120, 60},
                 HWIStyleKit::drawWindowBackgroundViewWithFrame);
    list.drawing(shared, "Toolbar key", {240, 38}, [](QPainter &painter, const QRectF &frame) {
        HWIStyleKit::drawToolbarWithFrame(painter, frame, HWIStyleKit::toolbarGradientActive());
    });
    list.drawing(shared, "Toolbar non-key", {240, 38}, [](QPainter &painter, const QRectF &frame) {
        HWIStyleKit::drawToolbarWithFrame(painter, frame, HWIStyleKit::toolbarGradientInactive());
    });
    list.drawing(shared, "SubProgressBar", {160, 10}, [](QPainter &painter, const QRectF &frame) {
        HWIStyleKit::drawSubProgressBarWithFrame(painter, frame, HWIStyleKit::defaultSubGradient(),
                                                 5);
    });
}

// The bar as it stands once any rise has finished.
QWidget *progress(HWCTheme theme, double main, double sub)
{
    auto *bar = new HWIProgressIndicator;
    bar->setFixedSize(240, 12);
    bar->setTheme(theme);
    bar->setDoubleValue(main);
    bar->setInternalDoubleValue(main);
    bar->setSubDoubleValue(sub);
    bar->setInternalSubDoubleValue(sub);
    return bar;
}

void addProgress(EntryList &list)
{
    const QString section = QStringLiteral("HWIProgressIndicator");
    for (HWCTheme theme :
         {HWCTheme::Default, HWCTheme::Success, HWCTheme::Error, HWCTheme::Warning}) {
        for (double value : {0.0, 0.2, 50.0, 100.0}) {
            list.widget(section, QStringLiteral("theme %1 at %2").arg(hwc_code(theme)).arg(value),
                        [theme, value] { return progress(theme, 0, value); });
        }
    }
    list.widget(section, "theme 0, main 30 over sub 70",
                [] { return progress(HWCTheme::Default, 30, 70); });
}

// A button in one of the looks a person meets: at rest, under the pointer, held down,
// disabled, focused.
template <typename Button> QWidget *button(Button *button, const QString &state)
{
    button->resize(button->sizeHint());
    // A button held down is under the pointer too.
    if (state == QLatin1String("hovered") || state == QLatin1String("pressed")) {
        QEnterEvent enter(QPointF(4, 4), QPointF(4, 4), QPointF(4, 4));
        QCoreApplication::sendEvent(button, &enter);
    }
    if (state == QLatin1String("pressed")) {
        button->setDown(true);
    } else if (state == QLatin1String("disabled")) {
        button->setEnabled(false);
    }
    return button;
}

void addButtons(EntryList &list)
{
    const std::initializer_list<const char *> states = {"normal", "hovered", "pressed", "disabled"};
    for (const char *state : states) {
        list.widget("HWCHoverButtonCell", state, [state] {
            return button(new HWCHoverButtonCell(QStringLiteral("Show")), state);
        });
    }
    for (const char *state : states) {
        list.widget("HWCHoverButtonCell", QStringLiteral("with image, %1").arg(state), [state] {
            auto *reveal = new HWCHoverButtonCell(QStringLiteral("Show in Files"));
            reveal->setIcon(
                icon({16, 16}, colored(HWCGalleryKit::drawIconOpenInFinderWithFrame, Qt::white)));
            reveal->setIconSize({16, 16});
            return button(reveal, state);
        });
    }
    for (const char *state : states) {
        list.widget("HWIBigButtonCell", state, [state] {
            return button(new HWIBigButtonCell(QStringLiteral("Verify")), state);
        });
    }
    for (const char *state : states) {
        list.widget("HWIBigButtonCell", QStringLiteral("with image, %1").arg(state), [state] {
            auto *done = new HWIBigButtonCell(QStringLiteral("Done"));
            done->setIcon(icon({20, 20}, drawDone));
            return button(done, state);
        });
    }
}

void addViews(EntryList &list)
{
    const QString views = QStringLiteral("Views");
    list.widget(views, "HWCBackgroundView", [] {
        auto *view = new HWCBackgroundView;
        view->setFixedSize(160, 90);
        return view;
    });
    list.widget(views, "HWIWindowBackgroundView", [] {
        auto *view = new HWIWindowBackgroundView;
        view->setFixedSize(160, 90);
        return view;
    });
    list.widget(views, "HWIToolbarView (this window)", [] {
        auto *view = new HWIToolbarView;
        view->setFixedSize(240, 38);
        return view;
    });
    list.widget(views, "HWCRibbonView (this build)", [] { return new HWCRibbonView; });
}

} // namespace

QList<HWCGalleryEntry> HWCGallery::entries()
{
    EntryList list;
    addStyleKit(list);
    addImages(list);
    addOtherKits(list);
    addProgress(list);
    addButtons(list);
    addViews(list);
    return list.take() + HWCSourceCollectionGallery::entries();
}
