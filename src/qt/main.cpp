// The program: reads its options, builds the Qt program over the chosen board and runs it.

#include <QApplication>
#include <cstdio>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "qt/qt_program.h"

using namespace i2cbridge;

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const CommandLine options = CommandLine::Parse(args);
    if (!options.error.empty()) {
        std::fprintf(stderr, "i2cbridge: %s\n\n%s", options.error.c_str(),
                     UsageText("i2cbridge").c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(UsageText("i2cbridge").c_str(), stdout);
        return 0;
    }
    if (options.version) {
        std::fputs(VersionText("i2cbridge").c_str(), stdout);
        return 0;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QLatin1String(kAppTitle));
    QtProgram program(options);
    if (!program.chooseBoard()) return 3;  // several boards, and the user picked none
    if (const auto why = program.start()) {
        std::fprintf(stderr, "i2cbridge: cannot write the log to %s: %s\n", options.logFile.c_str(),
                     why->c_str());
        return 2;
    }
    return app.exec();
}
