#pragma once

#include <QUrl>
#include <QWidget>

class QTextBrowser;

// The about window: icon, name, version and build, copyright, credits, a button to the
// product's web site and the acknowledgments, loaded from the file installed with the
// application, and a Close button (Escape closes it too). The application makes it once
// and brings it forward on later requests. Main thread.
class HWCAboutWindowController : public QWidget {
    Q_OBJECT

public:
    explicit HWCAboutWindowController(QWidget *parent = nullptr);

    QUrl websiteAddress() const { return m_websiteAddress; }
    void setWebsiteAddress(const QUrl &address) { m_websiteAddress = address; }

    // Shows the window, or brings it forward when it is shown already.
    void showWindow();

    QTextBrowser *acknowledgmentsView() const { return m_acknowledgments; }

    // The installed hashwarden/acknowledgments.html: in the XDG data folders, else beside the
    // executable (…/bin/../share, or share/ in the build folder). Empty when there is none.
    static QString acknowledgmentsPath();

private:
    void loadAcknowledgments();

    QUrl m_websiteAddress;
    QTextBrowser *m_acknowledgments;
};
