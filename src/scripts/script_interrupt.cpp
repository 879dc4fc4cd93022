// Interrupt sampling: after every row (while sampling is on) the GPIO ports are read through
// the GPIO screen and compared with their idle value; a difference runs the script's service
// routine and moves the run on past the row after which it was seen.

#include <algorithm>

#include "gpio/frm_gpio.h"
#include "scripts/frm_script_ops.h"
#include "workbench/workbench.h"

namespace i2cbridge {

void FrmScriptOps::cmdISample_Click() {
    const auto keep = keepAlive();
    txtLastRead.setText(wb_.gpioScreen().cmdWrite_GPIO_Data_Click().readBackText());
    toggleSampleLamp();
    // Compared as text: an idle value typed in lower case never matches.
    if (txtLastRead.text() != txtIDefault.text()) {
        chkISample.setChecked(false);
        // Before any row has run there is no step to report and no place to resume from. A
        // detection inside a running routine (one that turned sampling on again while the line
        // was still active) starts no second routine and must not move the resume point onto
        // the routine's own rows: the main part would skip every row after the first detection.
        if (lastExecutedRow != 0 && !wb_.script.ServiceRunning) {
            txtIdetectStep.setText(cellText(lastExecutedRow, kColLine));
            wb_.script.IntDetectLine = static_cast<int16_t>(lastExecutedRow);
            runService();
        }
    }
    wb_.pump.yield();
}

// The rows from the Int Start line to the Int End line, nested in the row that sampled. No
// second routine starts while one runs (the sampler checks before it gets here).
void FrmScriptOps::runService() {
    ScriptRunState& run = wb_.script;
    if (run.IntStartLine == 0 || run.IntEndLine <= run.IntStartLine || run.ServiceRunning) return;
    run.ServiceRunning = true;
    // The lines are shared by every window: another window's script may have set them past the
    // end of this one.
    const int16_t last = static_cast<int16_t>(std::min<int>(run.IntEndLine, rowCount()));
    for (run.IntStep = run.IntStartLine; run.IntStep <= last; ++run.IntStep) {
        const int step = run.IntStep;
        vbalGrid1.setSelectedRow(step);
        ExecuteScriptRow(step, 1);
        txtIexec.setText(std::to_string(run.IntStep));
        wb_.pump.yield();
        txtRunning.setText(std::to_string(run.IntStep));
        wb_.pump.yield();
        if (run.AbortRequested) break;
    }
    run.ServiceRunning = false;
    run.CurrentStep = run.IntDetectLine;
}

void FrmScriptOps::chkISample_MouseUp() {
    if (chkISample.checked()) {
        txtIEnableStep.setText("On");
        txtIDisableStep.setText("");
    } else {
        txtIEnableStep.setText("Off");
        txtIDisableStep.setText("On");
    }
    wb_.pump.yield();
    wb_.pump.yield();
}

}  // namespace i2cbridge
