#include "app/script_run.h"

#include <algorithm>
#include <filesystem>

#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"
#include "scripts/script_record_text.h"

namespace i2cbridge {

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration d) {
    return std::chrono::duration<double>(d).count();
}

std::string FileName(const std::string& path) {
    const auto cut = path.find_last_of('/');
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

bool Compares(const ScriptRow& r) {
    return !r.DataRd.empty() && r.DataRdBytes > 0;
}

ScriptCase RowCase(const std::string& pass, const ScriptRow& r) {
    ScriptCase c;
    c.pass = pass;
    c.line = r.Line;
    c.address = r.I2CAdr;
    c.reg = r.RegAdr;
    c.expected = r.DataRd;
    return c;
}

// The cases of one pass: every row that compared or failed, with the time since the case
// before it (its delay and write rows included), and the compared rows it did not run.
std::vector<ScriptCase> PassCases(const PassOutcome& pass, const ScriptLoad& load,
                                  const std::string& passName, const std::string& stopWhy,
                                  const std::string& recordPath) {
    std::vector<ScriptCase> cases;
    Clock::duration since{};
    for (const RowOutcome& r : pass.rows) {
        since += r.time;
        if (!r.compare && !r.failed()) continue;
        ScriptCase c;
        c.pass = passName;
        c.line = r.line;
        c.address = r.address;
        c.reg = r.reg;
        if (r.compare) {
            c.expected = r.compare->expected;
            c.actual = r.compare->actual;
        }
        if (r.write && !r.write->ok()) {
            c.why = "write acknowledged " + std::to_string(r.write->actual) + " of " +
                    std::to_string(r.write->expected) + " bytes";
        } else if (r.read && !r.read->ok()) {
            c.why = "read " + std::to_string(r.read->actual) + " of " +
                    std::to_string(r.read->expected) + " bytes";
        } else if (r.kind == RowKind::SaveFile && r.error != CoreError::None) {
            c.why = "record " + recordPath + " not written: " + r.reason;
        } else if (r.error != CoreError::None) {
            c.why = std::string(CoreErrorText(r.error)) + (r.reason.empty() ? "" : ": " + r.reason);
        } else if (r.compare && !r.compare->passed) {
            c.why =
                "expected " + c.expected + ", read " + (c.actual.empty() ? "nothing" : c.actual);
        }
        c.status = r.failed() ? CaseStatus::Fail : CaseStatus::Pass;
        c.seconds = Seconds(since);
        since = {};
        cases.push_back(std::move(c));
    }
    for (const int n : pass.rowsNotRun) {
        if (n < 1 || n > static_cast<int>(load.rows.size()) || !Compares(load.rows[n - 1]))
            continue;
        ScriptCase c = RowCase(passName, load.rows[n - 1]);
        c.status = CaseStatus::Skipped;
        c.why = stopWhy.empty() ? PassEndName(pass.end) : stopWhy;
        cases.push_back(std::move(c));
    }
    return cases;
}

// The compared rows of the main part, as not run.
std::vector<ScriptCase> SkipRows(const ScriptLoad& load, const std::string& pass,
                                 const std::string& why) {
    std::vector<ScriptCase> cases;
    for (int n = 1; n <= LastMainRow(load); ++n) {
        if (!Compares(load.rows[n - 1])) continue;
        ScriptCase c = RowCase(pass, load.rows[n - 1]);
        c.status = CaseStatus::Skipped;
        c.why = why;
        cases.push_back(std::move(c));
    }
    return cases;
}

}  // namespace

const char* CaseStatusText(CaseStatus s) {
    return s == CaseStatus::Pass ? "PASS" : s == CaseStatus::Fail ? "FAIL" : "SKIP";
}

std::string ScriptCase::name() const {
    std::string text = "line " + line + " " + address + " reg " + (reg.empty() ? "-" : reg);
    return pass == "1" ? text : "pass " + pass + " " + text;
}

std::string CaseLine(const ScriptCase& c) {
    std::string text = c.line + " " + c.address + " " + (c.reg.empty() ? "-" : c.reg) + " " +
                       (c.expected.empty() ? "-" : c.expected) + " " +
                       (c.actual.empty() ? "-" : c.actual) + " " + CaseStatusText(c.status);
    if (c.status != CaseStatus::Pass && c.why.rfind("expected ", 0) != 0) {
        text += " (" + c.why + ")";
    }
    return text;
}

int ScriptSuite::count(CaseStatus s) const {
    return static_cast<int>(std::count_if(cases.begin(), cases.end(),
                                          [s](const ScriptCase& c) { return c.status == s; }));
}

int LastMainRow(const ScriptLoad& load) {
    int last = std::min<int>(load.EndMainLine, static_cast<int>(load.rows.size()));
    if (last >= 1 && load.rows[last - 1].Operation == "Cmd: End Main") --last;
    return last;
}

bool TouchesTheBus(const ScriptLoad& load) {
    for (int n = 1; n <= LastMainRow(load); ++n) {
        const ScriptRow& r = load.rows[n - 1];
        if (r.DataWrBytes > 0 || r.DataRdBytes > 0) return true;
    }
    return false;
}

ScriptRun RunScript(Session& session, const ScriptRunRequest& q) {
    ScriptRun run;
    run.suite.path = q.path;
    Program& program = session.program();
    // A script window takes its address from the main window, as when it opens from there.
    program.mainWindow().txtI2CAdr.setText(q.address);
    auto window = program.newScriptWindow();
    FrmScriptOps& w = *window;
    w.Form_Load();
    session.dialogs().openChoices.push_back(q.path);
    const std::optional<LoadOutcome> loaded = w.ReadScriptFile();
    if (!loaded || !loaded->loaded) {
        run.loadError = loaded ? loaded->reason : "not opened";
        program.closeScriptWindow(w);
        return run;
    }
    run.loaded = true;
    // The "_DL" records go where asked; the window keeps them beside the script.
    if (!q.recordDir.empty()) {
        w.cdldialog.setFileName((std::filesystem::path(q.recordDir) / FileName(q.path)).string());
    }
    w.chkAOF.setChecked(q.abortOnFail);
    const ScriptLoad& load = w.script;
    const int mainRows = LastMainRow(load);
    const bool touches = TouchesTheBus(load);
    const auto runStart = Clock::now();
    int pass = 1;
    if (q.onRow) w.onRowStarted = [&](int n) { q.onRow(pass, std::min(n, mainRows), mainRows); };
    // Loop Cont with a number of passes and the stop request; each pass is reported as it
    // ends, and none is kept, so that a night's loop stays small.
    LoopRequest request;
    request.maxPasses = q.loop;
    request.stop = q.stop;
    request.onPass = [&](const PassOutcome& outcome) {
        const bool stopped = q.stop && q.stop->load();
        const std::string why = stopped && q.stopWhy ? q.stopWhy() : "";
        std::vector<ScriptCase> cases =
            PassCases(outcome, load, std::to_string(pass), why, DataLogPath(w.cdldialog.fileName));
        if (q.onPass) q.onPass(pass, outcome, cases);
        run.suite.cases.insert(run.suite.cases.end(), cases.begin(), cases.end());
        ++pass;
    };
    LoopOutcome loop;
    if (touches && !(q.stop && q.stop->load())) loop = w.RunLoop(request);
    run.suite.passesRun = loop.passesRun;
    w.onRowStarted = nullptr;
    // Passes that never started, one skipped case a row for all of them.
    const int firstNotRun = run.suite.passesRun + 1;
    if (firstNotRun <= q.loop && touches) {
        run.stoppedEarly = true;
        const std::string passes =
            firstNotRun == q.loop ? std::to_string(q.loop)
                                  : std::to_string(firstNotRun) + " to " + std::to_string(q.loop);
        std::vector<ScriptCase> cases = SkipRows(
            load, passes, (firstNotRun == q.loop ? "pass " : "passes ") + passes + " not run");
        if (q.onNotRun) q.onNotRun(cases);
        run.suite.cases.insert(run.suite.cases.end(), cases.begin(), cases.end());
    }
    run.suite.seconds = Seconds(Clock::now() - runStart);
    if (!q.updateExpectedFile.empty()) {
        w.txtFilePath.setText(q.updateExpectedFile);
        w.chkAppend.setChecked(q.append);
        run.writeBackFailed = !w.cmdStartRec_Click().written;
    }
    program.closeScriptWindow(w);
    return run;
}

}  // namespace i2cbridge
