// The script commands: show prints a script as the window's grid shows it; run runs scripts as
// the window's Run All Steps and Loop Cont do and reports every compared row, as text, JSON or
// a JUnit file. A run is green only when every row ran and every transfer was acknowledged.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "app/script_run.h"
#include "cli/cli.h"
#include "foundation/atomic_file.h"
#include "foundation/hex_text.h"
#include "foundation/whole_file.h"
#include "scripts/script_outcomes.h"
#include "scripts/script_reader.h"
#include "scripts/script_record_text.h"

namespace i2cbridge::cli {

namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;

double Seconds(Clock::duration d) {
    return std::chrono::duration<double>(d).count();
}

// The whole file, or the system's reason why not (a folder is not a script).
std::optional<std::string> ReadScriptFile(const std::string& path, std::string& why) {
    std::string bytes;
    if (!ReadWholeFile(path, bytes, why)) return std::nullopt;
    return bytes;
}

// A "_DL" record that a `S step wrote ("a1_DL.txt"), by its name.
std::string Xml(std::string_view bytes) {
    std::string out;
    for (const char c : Utf8(bytes)) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                // Control characters have no place in XML 1.0.
                out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
        }
    }
    return out;
}

using Status = CaseStatus;
using Case = ScriptCase;
using Suite = ScriptSuite;

std::string FileName(const std::string& path) {
    const auto cut = path.find_last_of('/');
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

struct Totals {
    int passed = 0, failed = 0, skipped = 0;
    double seconds = 0;
    explicit Totals(const std::vector<Suite>& suites) {
        for (const Suite& s : suites) {
            passed += s.count(Status::Pass);
            failed += s.count(Status::Fail);
            skipped += s.count(Status::Skipped);
            seconds += s.seconds;
        }
    }
    std::string line() const {
        return std::to_string(passed) + " passed, " + std::to_string(failed) + " failed, " +
               std::to_string(skipped) + " skipped";
    }
};

std::string Time(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", seconds);
    return text;
}

std::string Counts(int tests, int failures, int skipped, double seconds) {
    return " tests=\"" + std::to_string(tests) + "\" failures=\"" + std::to_string(failures) +
           "\" errors=\"0\" skipped=\"" + std::to_string(skipped) + "\" time=\"" + Time(seconds) +
           "\"";
}

// board: the board the run used, as the log names it; each suite carries it as a property.
std::string JUnit(const std::vector<Suite>& suites, const std::string& board) {
    const Totals all(suites);
    std::string x =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"i2cbridge-cli\"" +
        Counts(all.passed + all.failed + all.skipped, all.failed, all.skipped, all.seconds) + ">\n";
    for (const Suite& s : suites) {
        const std::string name = Xml(FileName(s.path));
        x += "  <testsuite name=\"" + name + "\"" +
             Counts(static_cast<int>(s.cases.size()), s.count(Status::Fail),
                    s.count(Status::Skipped), s.seconds) +
             ">\n";
        if (!board.empty())
            x += "    <properties>\n      <property name=\"board\" value=\"" + Xml(board) +
                 "\"/>\n    </properties>\n";
        for (const Case& c : s.cases) {
            x += "    <testcase classname=\"" + name + "\" name=\"" + Xml(c.name()) + "\" time=\"" +
                 Time(c.seconds) + "\"";
            if (c.status == Status::Pass) {
                x += "/>\n";
            } else if (c.status == Status::Skipped) {
                x += ">\n      <skipped message=\"" + Xml(c.why) + "\"/>\n    </testcase>\n";
            } else {
                x += ">\n      <failure message=\"" + Xml(c.why) + "\" type=\"compare\">" +
                     Xml(c.why) + "</failure>\n    </testcase>\n";
            }
        }
        x += "  </testsuite>\n";
    }
    return x + "</testsuites>\n";
}

Json JsonReport(const std::vector<Suite>& suites, const std::string& stopped) {
    Json scripts = Json::array();
    for (const Suite& s : suites) {
        Json rows = Json::array();
        for (const Case& c : s.cases) {
            rows.push_back({{"pass", c.pass},
                            {"line", c.line},
                            {"address", Utf8(c.address)},
                            {"register", Utf8(c.reg)},
                            {"expected", Utf8(c.expected)},
                            {"actual", Utf8(c.actual)},
                            {"status", CaseStatusText(c.status)},
                            {"why", c.why},
                            {"time", c.seconds}});
        }
        scripts.push_back({{"script", Utf8(s.path)},
                           {"passes", s.passesRun},
                           {"passed", s.count(Status::Pass)},
                           {"failed", s.count(Status::Fail)},
                           {"skipped", s.count(Status::Skipped)},
                           {"time", s.seconds},
                           {"rows", rows}});
    }
    const Totals all(suites);
    return {{"scripts", scripts},     {"passed", all.passed}, {"failed", all.failed},
            {"skipped", all.skipped}, {"time", all.seconds},  {"stopped", stopped}};
}

std::string ClockText(double seconds) {
    const long s = static_cast<long>(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
    return text;
}

// Where a run stands, on stderr: one line updated in place on a terminal; redirected, a line
// per pass only with --verbose.
class Progress {
public:
    explicit Progress(const Options& o)
        : terminal_(isatty(STDERR_FILENO) != 0 && !o.quiet && !o.json), verbose_(o.verbose) {}
    ~Progress() { clear(); }

    void row(const std::string& script, int pass, int passes, int row, int rows,
             Clock::time_point started) {
        if (!terminal_ || rows <= 0) return;
        const auto now = Clock::now();
        if (now - lastDrawn_ < std::chrono::milliseconds(100)) return;
        lastDrawn_ = now;
        const double elapsed = Seconds(now - started);
        const double done = (pass - 1) * static_cast<double>(rows) + row;
        const double left = elapsed / std::max(done, 1.0) * (double(passes) * rows - done);
        std::fprintf(stderr, "\r%s: pass %d/%d, row %d/%d, %s elapsed, %s left\033[K",
                     script.c_str(), pass, passes, row, rows, ClockText(elapsed).c_str(),
                     ClockText(left).c_str());
        drawn_ = true;
    }
    void pass(const std::string& script, int pass, int passes, int passed, int failed) {
        if (!verbose_) return;
        clear();
        std::fprintf(stderr, "%s: pass %d of %d: %d passed, %d failed\n", script.c_str(), pass,
                     passes, passed, failed);
    }
    void clear() {
        if (drawn_) std::fputs("\r\033[K", stderr);
        drawn_ = false;
    }

private:
    bool terminal_, verbose_;
    bool drawn_ = false;
    Clock::time_point lastDrawn_{};
};

void PrintCase(const Case& c, const std::string& script) {
    std::printf("%s%s\n", script.empty() ? "" : (script + ": ").c_str(), CaseLine(c).c_str());
}

// The lines the reader could not read cleanly, on stderr.
void ListRemarks(const std::string& path, const ScriptLoad& load) {
    for (const ScriptRemark& r : load.remarks) {
        Complain(path + " line " + std::to_string(r.line) + ": " + Utf8(r.text));
    }
}

const char* SignalName(int signal) {
    return signal == SIGINT ? "SIGINT" : signal == SIGTERM ? "SIGTERM" : "a signal";
}

}  // namespace

int Show(const Options& o) {
    if (o.words.size() != 2) return Usage("show takes SCRIPT");
    const std::string& path = o.words[1];
    std::string why;
    const auto bytes = ReadScriptFile(path, why);
    if (!bytes) {
        Complain("cannot read " + path + ": " + why);
        return kExitUsage;
    }
    const ScriptLoad load = ReadScript(*bytes, static_cast<uint8_t>(*ParseHex(o.address, 0xFE)));
    if (o.json) {
        Json rows = Json::array();
        for (const ScriptRow& r : load.rows) {
            rows.push_back({{"line", r.Line},
                            {"i2cAdr", Utf8(r.I2CAdr)},
                            {"regAdr", Utf8(r.RegAdr)},
                            {"dataWr", Utf8(r.DataWr)},
                            {"dataRd", Utf8(r.DataRd)},
                            {"actRd", Utf8(r.ActRd)},
                            {"operation", Utf8(r.Operation)},
                            {"comment", Utf8(r.Comment)},
                            {"regAdrBytes", r.RegAdrBytes},
                            {"dataWrBytes", r.DataWrBytes},
                            {"dataRdBytes", r.DataRdBytes},
                            {"stepDelay", r.StepDelay}});
        }
        Json remarks = Json::array();
        for (const ScriptRemark& r : load.remarks) {
            remarks.push_back({{"line", r.line}, {"text", Utf8(r.text)}});
        }
        PrintJson({{"rows", rows},
                   {"remarks", remarks},
                   {"totalReads", load.TotalReads},
                   {"endMainLine", load.EndMainLine},
                   {"intStartLine", load.IntStartLine},
                   {"intEndLine", load.IntEndLine}});
    } else {
        for (const ScriptRow& r : load.rows) {
            std::printf("%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n", r.Line.c_str(), r.I2CAdr.c_str(),
                        r.RegAdr.c_str(), r.DataWr.c_str(), r.DataRd.c_str(), r.ActRd.c_str(),
                        r.Operation.c_str(), r.Comment.c_str());
        }
    }
    if (!o.json) ListRemarks(path, load);
    return kExitOk;
}

int Run(const Options& o) {
    if (o.words.size() < 2) return Usage("run takes SCRIPT...");
    std::vector<std::string> scripts;
    for (auto word = o.words.begin() + 1; word != o.words.end(); ++word) {
        // A wildcard of several files also matches the records of earlier runs.
        if (o.words.size() > 2 && IsDataLogPath(*word)) {
            if (!o.quiet) Complain("not running " + *word + ": a record of an earlier run");
            continue;
        }
        scripts.push_back(*word);
    }
    if (!o.updateExpectedFile.empty() && scripts.size() != 1)
        return Usage("--update-expected takes one script");
    if (o.append && o.updateExpectedFile.empty())
        return Usage("--append goes with --update-expected");

    const uint8_t windowAddress = static_cast<uint8_t>(*ParseHex(o.address, 0xFE));
    bool nothingToRun = false;
    for (const std::string& path : scripts) {
        std::string why;
        const auto bytes = ReadScriptFile(path, why);
        if (!bytes) {
            Complain("cannot read " + path + ": " + why);
            return kExitUsage;
        }
        const ScriptLoad load = ReadScript(*bytes, windowAddress);
        // Junk is not sent to a device unless asked for: the window would run it as it loads.
        ListRemarks(path, load);
        if (!load.remarks.empty() && !o.lenient) {
            Complain(path + " has lines that cannot be read cleanly; --lenient runs it anyway");
            return kExitUsage;
        }
        if (load.rows.empty() || !TouchesTheBus(load)) {
            Complain(path +
                     (load.rows.empty() ? " is empty" : " has no step that writes or reads") +
                     ": nothing to run");
            nothingToRun = true;
        }
    }
    if (!o.recordDir.empty()) {
        std::error_code error;
        std::filesystem::create_directories(o.recordDir, error);
        if (error) {
            Complain("cannot make the record folder " + o.recordDir + ": " + error.message());
            return kExitUsage;
        }
    }

    CliSession session(o);
    if (const int status = Start(session)) return status;
    session.close();
    CatchStopSignals();

    Progress progress(o);
    std::vector<Suite> suites;
    bool writeFailed = false, stoppedEarly = false;
    const bool several = scripts.size() > 1;

    for (const std::string& path : scripts) {
        const std::string shownName = several ? path : "";
        const auto runStart = Clock::now();
        ScriptRunRequest request;
        request.path = path;
        request.loop = o.loop;
        request.abortOnFail = o.abortOnFail;
        request.address = o.address;
        request.recordDir = o.recordDir;
        request.updateExpectedFile = o.updateExpectedFile;
        request.append = o.append;
        // Loop Cont stops at the signals' stop request, after the current row.
        request.stop = &StopRequest();
        request.stopWhy = [] { return std::string("stopped by ") + SignalName(StopSignal()); };
        request.onRow = [&](int pass, int row, int rows) {
            progress.row(FileName(path), pass, o.loop, row, rows, runStart);
        };
        const auto print = [&](const std::vector<Case>& cases) {
            if (o.quiet || o.json || cases.empty()) return;
            progress.clear();
            for (const Case& c : cases) PrintCase(c, shownName);
        };
        request.onPass = [&](int pass, const PassOutcome& outcome, const std::vector<Case>& cases) {
            progress.pass(FileName(path), pass, o.loop, outcome.passed, outcome.failed);
            print(cases);
        };
        request.onNotRun = print;
        ScriptRun run = RunScript(session, request);
        if (!run.loaded) {
            Complain("cannot read " + path + ": " + run.loadError);
            return kExitUsage;
        }
        stoppedEarly = stoppedEarly || run.stoppedEarly;
        writeFailed = writeFailed || run.writeBackFailed;
        suites.push_back(std::move(run.suite));
    }

    if (!o.junitFile.empty()) {
        if (auto failure = WriteFileAtomically(o.junitFile,
                                               JUnit(suites, BoardName(session.wb().usb.Board)))) {
            Complain("cannot write " + o.junitFile + ": " + *failure);
            writeFailed = true;
        }
    }
    progress.clear();
    const int signal = StopSignal();
    if (signal) Complain(std::string("stopped by ") + SignalName(signal));
    const Totals all(suites);
    if (o.json) {
        PrintJson(JsonReport(suites, signal ? SignalName(signal) : stoppedEarly ? "aborted" : ""));
    } else {
        std::printf("%s\n", all.line().c_str());
    }
    std::fflush(stdout);
    if (signal) return kExitSignalBase + signal;
    if (writeFailed) return kExitUsage;
    const bool green = all.failed == 0 && all.skipped == 0 && !stoppedEarly && !nothingToRun;
    return green ? kExitOk : kExitFailed;
}

}  // namespace i2cbridge::cli
