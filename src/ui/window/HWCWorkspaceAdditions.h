#pragma once

#include <QString>
#include <QStringList>

// Asks the desktop's file manager (org.freedesktop.FileManager1.ShowItems on the session
// bus) to show the file selected; opens the file's folder instead when there is no session
// bus or the call fails. Returns at once: the reply is awaited in the event loop, so a slow
// file manager never blocks the window. Main thread.
void hwc_activateFileViewerSelecting(const QString &path);
// The same for several files in one request, so that the file manager shows them all; on
// failure the folder of each is opened.
void hwc_activateFileViewerSelecting(const QStringList &paths);
