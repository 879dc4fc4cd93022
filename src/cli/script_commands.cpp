// The script commands: show prints a script as the window's grid shows it; run runs scripts as
// the window's Run All Steps does and reports every compare, also as a JUnit file.

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "cli/cli.h"
#include "foundation/atomic_file.h"
#include "foundation/hex_text.h"
#include "foundation/whole_file.h"
#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"
#include "scripts/script_reader.h"

namespace i2cbridge::cli {

namespace {

std::string FileName(const std::string& path) {
    const auto cut = path.find_last_of('/');
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

std::string Xml(std::string_view bytes) {
    std::string out;
    // JsonString gives valid UTF-8 in quotes; XML needs its own escapes.
    const std::string text = JsonString(bytes);
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\' && i + 1 < text.size() - 1) {
            const char next = text[++i];
            if (next == 'u') {
                out += ' ';  // a control character: no place in XML 1.0
                i += 4;
            } else {
                out += next;
            }
            continue;
        }
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
                out += c;
        }
    }
    return out;
}

// One compared row of one pass.
struct Case {
    int pass = 1;
    std::string line, address, reg, expected, actual;
    bool passed = false;
    double seconds = 0;
};

struct Suite {
    std::string name;
    std::vector<Case> cases;
    double seconds = 0;
    int failures() const {
        int n = 0;
        for (const Case& c : cases) n += c.passed ? 0 : 1;
        return n;
    }
};

std::string JUnit(const std::vector<Suite>& suites) {
    int tests = 0, failures = 0;
    double seconds = 0;
    for (const Suite& s : suites) {
        tests += static_cast<int>(s.cases.size());
        failures += s.failures();
        seconds += s.seconds;
    }
    std::string x = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    char head[160];
    std::snprintf(
        head, sizeof head,
        "<testsuites name=\"i2cbridge-cli\" tests=\"%d\" failures=\"%d\" time=\"%.6f\">\n", tests,
        failures, seconds);
    x += head;
    for (const Suite& s : suites) {
        std::snprintf(head, sizeof head,
                      " tests=\"%zu\" failures=\"%d\" errors=\"0\" skipped=\"0\" time=\"%.6f\">\n",
                      s.cases.size(), s.failures(), s.seconds);
        x += "  <testsuite name=\"" + Xml(s.name) + "\"" + head;
        for (const Case& c : s.cases) {
            std::string name =
                "line " + c.line + " " + c.address + " reg " + (c.reg.empty() ? "-" : c.reg);
            if (c.pass > 1) name = "pass " + std::to_string(c.pass) + " " + name;
            char time[32];
            std::snprintf(time, sizeof time, "%.6f", c.seconds);
            x += "    <testcase classname=\"" + Xml(s.name) + "\" name=\"" + Xml(name) +
                 "\" time=\"" + time + "\"";
            if (c.passed) {
                x += "/>\n";
                continue;
            }
            const std::string message =
                "expected " + c.expected + ", read " + (c.actual.empty() ? "nothing" : c.actual);
            x += ">\n      <failure message=\"" + Xml(message) + "\" type=\"compare\">" +
                 Xml(message) + "</failure>\n    </testcase>\n";
        }
        x += "  </testsuite>\n";
    }
    return x + "</testsuites>\n";
}

// Where a run stands, on stderr: a bar on a terminal, a line per pass otherwise.
class Progress {
public:
    Progress() : terminal_(isatty(STDERR_FILENO) != 0) {}
    void row(const std::string& script, int n, int of) {
        if (!terminal_ || of <= 0) return;
        const int width = 30;
        const int done = std::min(width, n * width / of);
        std::fprintf(stderr, "\r%s [%s%s] %d/%d", script.c_str(), std::string(done, '#').c_str(),
                     std::string(width - done, ' ').c_str(), n, of);
    }
    void pass(const std::string& script, int pass, int passes, int passed, int failed) {
        if (terminal_) std::fputs("\r\033[K", stderr);
        std::fprintf(stderr, "%s: pass %d of %d: %d passed, %d failed\n", script.c_str(), pass,
                     passes, passed, failed);
    }

private:
    bool terminal_;
};

}  // namespace

int Show(const Options& o) {
    if (o.words.size() != 2) return Usage("show takes SCRIPT");
    std::string bytes;
    if (!ReadWholeFile(o.words[1], bytes)) {
        std::fprintf(stderr, "i2cbridge-cli: cannot read %s: %s\n", o.words[1].c_str(),
                     std::strerror(errno));
        return kExitUsage;
    }
    const ScriptLoad load =
        ReadScript(bytes, static_cast<uint8_t>(*StrictHexValue(o.address, 0xFE)));
    if (o.json) {
        std::string out = "{\"rows\":[";
        for (std::size_t i = 0; i < load.rows.size(); ++i) {
            const ScriptRow& r = load.rows[i];
            out += i ? ",{" : "{";
            const std::pair<const char*, const std::string*> cells[] = {
                {"line", &r.Line},           {"i2cAdr", &r.I2CAdr},  {"regAdr", &r.RegAdr},
                {"dataWr", &r.DataWr},       {"dataRd", &r.DataRd},  {"actRd", &r.ActRd},
                {"operation", &r.Operation}, {"comment", &r.Comment}};
            for (const auto& [key, text] : cells) {
                out += "\"" + std::string(key) + "\":" + JsonString(*text) + ",";
            }
            out += "\"regAdrBytes\":" + std::to_string(r.RegAdrBytes) +
                   ",\"dataWrBytes\":" + std::to_string(r.DataWrBytes) +
                   ",\"dataRdBytes\":" + std::to_string(r.DataRdBytes) +
                   ",\"stepDelay\":" + std::to_string(r.StepDelay) + "}";
        }
        out += "],\"totalReads\":" + std::to_string(load.TotalReads) +
               ",\"endMainLine\":" + std::to_string(load.EndMainLine) +
               ",\"intStartLine\":" + std::to_string(load.IntStartLine) +
               ",\"intEndLine\":" + std::to_string(load.IntEndLine) + "}\n";
        std::fputs(out.c_str(), stdout);
    } else {
        for (const ScriptRow& r : load.rows) {
            std::printf("%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n", r.Line.c_str(), r.I2CAdr.c_str(),
                        r.RegAdr.c_str(), r.DataWr.c_str(), r.DataRd.c_str(), r.ActRd.c_str(),
                        r.Operation.c_str(), r.Comment.c_str());
        }
    }
    if (load.truncated) {
        std::fprintf(stderr, "i2cbridge-cli: %s has %zu lines; only the first %d are rows\n",
                     o.words[1].c_str(), load.linesInFile, kMaxScriptLines);
    }
    return kExitOk;
}

int Run(const Options& o) {
    if (o.words.size() < 2) return Usage("run takes SCRIPT...");
    const std::vector<std::string> scripts(o.words.begin() + 1, o.words.end());
    if (!o.updateExpectedFile.empty() && scripts.size() != 1)
        return Usage("--update-expected takes one script");
    if (o.append && o.updateExpectedFile.empty())
        return Usage("--append goes with --update-expected");
    for (const std::string& path : scripts) {
        std::string bytes;
        if (!ReadWholeFile(path, bytes)) {
            std::fprintf(stderr, "i2cbridge-cli: cannot read %s: %s\n", path.c_str(),
                         std::strerror(errno));
            return kExitUsage;
        }
    }

    Session session(o);
    if (!session.setupError().empty()) {
        std::fprintf(stderr, "i2cbridge-cli: %s\n", session.setupError().c_str());
        return kExitUsage;
    }
    if (!session.open()) return kExitNoBoard;
    session.close();

    Workbench& wb = session.wb();
    Program& program = session.program();
    // A script window takes its address from the main window, as when it opens from there.
    program.mainWindow().txtI2CAdr.setText(o.address);
    Progress progress;
    std::vector<Suite> suites;
    int passed = 0, failed = 0;
    bool writeFailed = false;

    for (const std::string& path : scripts) {
        Suite suite{FileName(path), {}, 0};
        auto window = program.newScriptWindow();
        FrmScriptOps& w = *window;
        session.dialogs().openChoices.push_back(path);
        w.Form_Load();
        w.chkAOF.setChecked(o.abortOnFail);
        int pass = 1;
        std::chrono::steady_clock::time_point rowStart;
        const auto runStart = std::chrono::steady_clock::now();
        w.onRowStarted = [&](int n) {
            rowStart = std::chrono::steady_clock::now();
            progress.row(suite.name, n, wb.script.EndMainLine);
        };
        w.onCompared = [&](int n, bool ok) {
            Case c{
                pass,
                w.cellText(n, kColLine),
                w.cellText(n, kColI2CAdr),
                w.cellText(n, kColRegAdr),
                w.cellText(n, kColDataRd),
                w.cellText(n, kColActRd),
                ok,
                std::chrono::duration<double>(std::chrono::steady_clock::now() - rowStart).count()};
            std::printf("%s %s %s %s %s %s\n", c.line.c_str(), c.address.c_str(),
                        c.reg.empty() ? "-" : c.reg.c_str(), c.expected.c_str(),
                        c.actual.empty() ? "-" : c.actual.c_str(), ok ? "PASS" : "FAIL");
            (ok ? passed : failed) += 1;
            suite.cases.push_back(std::move(c));
        };
        // As Loop Cont does: the loop count is what the write-back's stamp shows.
        w.txtLoopCount.setText("0");
        for (; pass <= o.loop; ++pass) {
            const int before = failed, passedBefore = passed;
            w.cmdExecAll_Click();
            w.txtLoopCount.setText(std::to_string(pass));
            progress.pass(suite.name, pass, o.loop, passed - passedBefore, failed - before);
            if (wb.script.AbortRequested) break;
        }
        suite.seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - runStart).count();
        w.onRowStarted = nullptr;
        w.onCompared = nullptr;
        if (!o.updateExpectedFile.empty()) {
            const std::string before = w.Label18.caption();
            w.txtFilePath.setText(o.updateExpectedFile);
            w.chkAppend.setChecked(o.append);
            w.Label18.setCaption("");
            w.cmdStartRec_Click();
            // The label tells of a write that went through; a failure left a message.
            writeFailed = writeFailed || w.Label18.caption().empty();
        }
        program.closeScriptWindow(w);
        suites.push_back(std::move(suite));
    }

    if (!o.junitFile.empty()) {
        if (auto failure = WriteFileAtomically(o.junitFile, JUnit(suites))) {
            std::fprintf(stderr, "i2cbridge-cli: cannot write %s: %s\n", o.junitFile.c_str(),
                         failure->c_str());
            writeFailed = true;
        }
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    if (writeFailed) return kExitUsage;
    return failed > 0 ? kExitFailed : kExitOk;
}

}  // namespace i2cbridge::cli
