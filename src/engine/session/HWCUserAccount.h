#pragma once

#include <QString>

// Who runs the program, and where: what lists and reports name as their creator. Any thread.
struct HWCUserAccount {
    QString fullName;  // the account's full name (up to the first comma); empty if none
    QString loginName; // empty when the account has no entry in the user database
    QString hostName;

    static HWCUserAccount current();
};
