#pragma once

// A script run as a test station sees it: the script's main part run as Run All Steps and
// Loop Cont do, in a script window of the session, and every row of every pass that compared,
// failed a transfer or did not run, as one case with its verdict. The command line reports
// the cases as text, JSON or JUnit; the Python module returns them.

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "app/session.h"
#include "scripts/script_outcomes.h"
#include "scripts/script_reader.h"

namespace i2cbridge {

enum class CaseStatus { Pass, Fail, Skipped };
const char* CaseStatusText(CaseStatus s);  // "PASS", "FAIL", "SKIP"

// One row of one pass that was compared, failed a transfer, or was not run.
struct ScriptCase {
    std::string pass;  // "1", or "4 to 100" for rows of passes not run
    std::string line, address, reg, expected, actual;
    CaseStatus status = CaseStatus::Pass;
    std::string why;  // what the board answered, or why the row did not run
    double seconds = 0;

    // "line 3 60 reg 02", with the pass in front after the first.
    std::string name() const;
};

// The case as one line: "009 60 12 FF FF PASS", with why it did not pass when that is not
// the compare itself: "011 60 02 5A - FAIL (read 0 of 1 bytes)".
std::string CaseLine(const ScriptCase& c);

struct ScriptSuite {
    std::string path;
    std::vector<ScriptCase> cases;
    double seconds = 0;
    int passesRun = 0;
    int count(CaseStatus s) const;
};

// The main part of a loaded script: rows 1 to End Main - 1, or every row.
int LastMainRow(const ScriptLoad& load);
// True when the main part writes or reads: a script without such a step has nothing to run.
bool TouchesTheBus(const ScriptLoad& load);

struct ScriptRunRequest {
    std::string path;
    int loop = 1;
    bool abortOnFail = false;
    std::string address = "60";      // the main window's address, which a script window takes
    std::string recordDir;           // where the "_DL" records go; beside the script when empty
    std::string updateExpectedFile;  // the compared rows written back with what was read
    bool append = false;
    // Ends the run after the current row when it becomes true; stopWhy() is then the reason
    // its rows not run give ("stopped by SIGINT"), or empty for the pass end's own name.
    const std::atomic<bool>* stop = nullptr;
    std::function<std::string()> stopWhy;

    // Live reports: a row starts (pass from 1, row within the main part); a pass ended with
    // its cases; passes that never started, as skipped cases.
    std::function<void(int pass, int row, int rows)> onRow;
    std::function<void(int pass, const PassOutcome&, const std::vector<ScriptCase>&)> onPass;
    std::function<void(const std::vector<ScriptCase>&)> onNotRun;
};

struct ScriptRun {
    bool loaded = false;
    std::string loadError;      // why the script could not be read, when it was not
    ScriptSuite suite;          // every case, in the order the rows ran
    bool stoppedEarly = false;  // a pass was cut off or not started
    bool writeBackFailed = false;
};

// Runs one script in a new script window of the session (opened and closed here). The board
// is opened and closed by the window's own steps.
ScriptRun RunScript(Session& session, const ScriptRunRequest& request);

}  // namespace i2cbridge
