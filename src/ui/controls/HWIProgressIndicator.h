#pragma once

#include "engine/records/HWCTypes.h"
#include "ui/drawing/HWCGradient.h"

#include <QPropertyAnimation>
#include <QTimer>
#include <QWidget>

// The rounded two-level progress bar of an operation row: a dark track, a secondary bar
// and the main bar over it, both in the gradient of the operation's theme. Values rise
// smoothly and fall back at once. Main thread only, except setTheme(), whose redraw is
// posted to the widget's thread.
class HWIProgressIndicator : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double internalDoubleValue READ internalDoubleValue WRITE setInternalDoubleValue)
    Q_PROPERTY(
        double internalSubDoubleValue READ internalSubDoubleValue WRITE setInternalSubDoubleValue)

public:
    // The default theme, both values 0; values run from 0 to 100.
    explicit HWIProgressIndicator(QWidget *parent = nullptr);

    // Each theme its own gradient; Cancelled is grey.
    static const HWCGradient &gradientForTheme(HWCTheme theme);

    HWCTheme theme() const { return m_theme; }
    void setTheme(HWCTheme theme);

    // The values last set by the owner. A rise animates the drawn value, a fall sets it.
    double doubleValue() const { return m_doubleValue; }
    void setDoubleValue(double value);
    double subDoubleValue() const { return m_subDoubleValue; }
    void setSubDoubleValue(double value);

    // The values actually drawn.
    double internalDoubleValue() const { return m_internalDoubleValue; }
    void setInternalDoubleValue(double value);
    double internalSubDoubleValue() const { return m_internalSubDoubleValue; }
    void setInternalSubDoubleValue(double value);

    // What the bar stands for, 0 to 100: the larger of the two values, as screen readers hear it.
    double shownValue() const;

    // From the drawn values: whole points wide, at least 1, not clamped to the track.
    QRectF progressBarRect() const;
    QRectF subProgressBarRect() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

private:
    void setupTheme();
    QRectF barRect(double value) const;
    void moveTo(QPropertyAnimation &animation, double from, double to);
    void describe();
    // Values may change thousands of times a second (one change per block read); the bar is
    // repainted at most once a frame.
    void scheduleRepaint();

    HWCTheme m_theme = HWCTheme::Default;
    double m_doubleValue = 0;
    double m_subDoubleValue = 0;
    double m_internalDoubleValue = 0;
    double m_internalSubDoubleValue = 0;
    const HWCGradient *m_progressBarGradient = nullptr;
    const HWCGradient *m_subProgressBarGradient = nullptr;
    QPropertyAnimation m_animation;
    QPropertyAnimation m_subAnimation;
    QTimer m_repaint;
};
