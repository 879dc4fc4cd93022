#include "qt/qt_system_info_launcher.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

namespace i2cbridge {

bool QtSystemInfoLauncher::openKey(uint32_t, const std::string&, uint32_t, KeyHandle&) {
    return false;
}

bool QtSystemInfoLauncher::queryValue(KeyHandle, const std::string&, std::size_t, uint32_t&,
                                      std::string&) {
    return false;
}

void QtSystemInfoLauncher::closeKey(KeyHandle) {}

bool QtSystemInfoLauncher::fileExists(const std::string& path) {
    const QFileInfo info(QString::fromStdString(path));
    return info.exists() && info.isFile();
}

std::string QtSystemInfoLauncher::findProgram(const std::string& name) {
    return QStandardPaths::findExecutable(QString::fromStdString(name)).toStdString();
}

// Fails when the program cannot be executed at all (missing, not executable); a program that
// starts and then fails is its own business.
bool QtSystemInfoLauncher::startDetached(const std::string& program,
                                         const std::vector<std::string>& args) {
    QStringList arguments;
    for (const std::string& a : args) arguments << QString::fromStdString(a);
    return QProcess::startDetached(QString::fromStdString(program), arguments);
}

}  // namespace i2cbridge
