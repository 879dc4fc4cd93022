#pragma once

// The one way the tests of this folder open a script window: a program on the simulated board,
// a folder for its files, and a window that has loaded a script.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scripts/frm_script_ops.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {

using Bytes = std::vector<uint8_t>;

struct ScriptRig {
    Rig rig;
    TempDir dir;
    std::string path;  // the script opened last

    // A new window that loads `text`, saved as `name`, when its start-up asks for a file. The
    // frames sent before it are forgotten.
    FrmScriptOps& open(const std::string& text, const std::string& name = "t.txt") {
        path = dir.file(name);
        WriteBytes(path, text);
        rig.main();  // the start-up takes the main window's address
        auto w = rig.program->newScriptWindow();
        rig.dialogs.openChoices.push_back(path);
        w->Form_Load();
        rig.clearSent();
        return *w;
    }
    static std::string cell(FrmScriptOps& w, int row, int column) {
        return w.vbalGrid1.cell(row, column).text;
    }
    static RgbColor back(FrmScriptOps& w, int row, int column) {
        return w.vbalGrid1.cell(row, column).back;
    }
    // The pass and fail counters, as "passes/fails".
    static std::string tally(FrmScriptOps& w) {
        return w.txtRdPass.text() + "/" + w.txtRdFails.text();
    }
    // The I2C requests sent on pipe 2.
    std::vector<Bytes> requests() {
        std::vector<Bytes> out;
        for (const WireFrame& f : rig.sent())
            if (f.endpoint == 0x02) out.push_back(f.bytes);
        return out;
    }
};

struct ScriptTest : ScriptRig, ::testing::Test {};

}  // namespace i2cbridge::testing
