#pragma once

#include <QByteArray>
#include <QString>

// Slash-separated path texts as records, lists and operations combine them. Trailing
// slashes do not count; "/" stays "/". Any thread.

// "/a/b.mov" gives "b.mov", "/a/b/" gives "b", "/" gives "/".
QString hwc_lastPathComponent(const QString &path);

// "/a/b.mov" gives "/a", "/a" gives "/", "b.mov" gives "" (empty, not null).
QString hwc_deletingLastPathComponent(const QString &path);

// Joins with one separator, collapses doubled separators and drops a trailing one:
// "/a/" + "/b/c/" gives "/a/b/c"; "" + "b" gives "b".
QString hwc_appendingPathComponent(const QString &path, const QString &component);

// The same join on file-system bytes, for names that are not valid UTF-8.
QByteArray hwc_appendingPathComponent(const QByteArray &path, const QByteArray &component);

// Whether a relative path (file-system bytes) reaches above its starting folder through ".."
// components:
// "../a" and "a/../../b" do, "a/../b" and "a..b" do not. Symbolic links are not looked at.
bool hwc_climbsOutOfFolder(const QByteArray &relativePath);
