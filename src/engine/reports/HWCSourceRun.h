#pragma once

#include <QDateTime>
#include <memory>

class HWCSourceOperation;

// One source's operation as a front end reports it, with the wall-clock times it saw the
// operation begin and end. Main thread.
struct HWCSourceRun {
    std::shared_ptr<HWCSourceOperation> operation;
    QDateTime started;   // invalid until the operation began running
    QDateTime ended;     // invalid until it ended, or the command ended without it
    bool strict = false; // files that no list names make it a run with warnings
};
