// The example scripts run green against the simulated board, from a copy so that their data
// logs stay out of the source tree.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "scripts/frm_script_ops.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

class Examples : public ::testing::TestWithParam<const char*> {};

TEST_P(Examples, RunGreen) {
    Rig rig;
    TempDir dir;
    const std::string path = dir.file(GetParam());
    std::filesystem::copy_file(std::filesystem::path(I2CB_EXAMPLES_DIR) / GetParam(), path);
    rig.main();
    auto w = rig.program->newScriptWindow();
    rig.dialogs.openChoices.push_back(path);
    w->Form_Load();
    w->cmdExecAll_Click();

    EXPECT_EQ(w->txtRdFails.text(), "0");
    EXPECT_NE(w->txtRdPass.text(), "0");
    EXPECT_EQ(w->txtRunning.text(), "Done");
    EXPECT_TRUE(rig.dialogs.messages.empty());
    EXPECT_EQ(rig.log().find("Qty Error"), std::string::npos) << rig.log();
}

INSTANTIATE_TEST_SUITE_P(All, Examples,
                         ::testing::Values("register_test.txt", "memory_test.txt", "gpio_walk.txt",
                                           "delay_endmain.txt", "interrupt_service.txt",
                                           "interrupt_rearm.txt"));

// The routine turns sampling on again while the line is still low: the second detection,
// inside the routine, must not move the resume point onto the routine's rows.
TEST(InterruptExample, ARoutineThatSamplesAgainStillResumesTheMainPart) {
    Rig rig;
    TempDir dir;
    const std::string path = dir.file("interrupt_rearm.txt");
    std::filesystem::copy_file(std::filesystem::path(I2CB_EXAMPLES_DIR) / "interrupt_rearm.txt",
                               path);
    rig.main();
    auto w = rig.program->newScriptWindow();
    rig.dialogs.openChoices.push_back(path);
    w->Form_Load();
    std::vector<int> rows;
    w->onRowStarted = [&](int n) { rows.push_back(n); };
    w->cmdExecAll_Click();

    EXPECT_EQ(rows, (std::vector<int>{1, 2, 3, 4, 9, 10, 11, 12, 13, 5, 6, 7}));
    EXPECT_EQ(w->txtIdetectStep.text(), w->cellText(4, kColLine));
}

TEST(InterruptExample, RoutineRunsAndEachPassIsLoggedWithItsMeasuredData) {
    Rig rig;
    TempDir dir;
    const std::string path = dir.file("interrupt_service.txt");
    std::filesystem::copy_file(std::filesystem::path(I2CB_EXAMPLES_DIR) / "interrupt_service.txt",
                               path);
    rig.main();
    auto w = rig.program->newScriptWindow();
    rig.dialogs.openChoices.push_back(path);
    w->Form_Load();
    int passes = 0;
    w->txtLoopCount.onChange = [&] {
        if (++passes == 2) w->cmdAbort_Click();
    };
    w->cmdRunContinuous_Click();

    EXPECT_NE(w->txtIdetectStep.text(), "----");
    EXPECT_EQ(w->txtIexec.text(), std::to_string(rig.wb->script.IntEndLine));
    const std::string script = ReadBytes(path);
    const std::string log = ReadBytes(dir.file("interrupt_service_DL.txt"));
    // Two copies of the script, each with its stamp on line 1 and the data read as expected
    // data (the same as the script's, since every compare passed).
    const auto lineEnd = script.find("\r\n");
    const std::string rest = script.substr(lineEnd);
    const std::string first = script.substr(0, lineEnd);
    EXPECT_EQ(log, first + "# AutoUpdated: 11-18-2026 17:05:09 Looping: 0" + rest + first +
                       "# AutoUpdated: 11-18-2026 17:05:09 Looping: 1" + rest);
}

}  // namespace
}  // namespace i2cbridge::testing
