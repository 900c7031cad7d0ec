#include "engine/session/HWCUserAccount.h"

#include <QSysInfo>
#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

HWCUserAccount HWCUserAccount::current()
{
    HWCUserAccount account;
    account.hostName = QSysInfo::machineHostName();
    // getpwuid_r: two lists created at once would race in getpwuid's static buffer.
    const long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? size_t(suggested) : 1024);
    passwd entry{};
    passwd *found = nullptr;
    int error = 0;
    while ((error = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE)
        buffer.resize(buffer.size() * 2);
    if (error != 0 || !found)
        return account;
    const QString gecos = found->pw_gecos ? QString::fromLocal8Bit(found->pw_gecos) : QString();
    account.fullName = gecos.section(QLatin1Char(','), 0, 0);
    account.loginName = QString::fromLocal8Bit(found->pw_name);
    return account;
}
