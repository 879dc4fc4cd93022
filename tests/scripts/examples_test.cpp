// The example scripts run green against the simulated board, from a copy so that their data
// logs stay out of the source tree.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "scripts/frm_script_ops.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

class Examples : public ::testing::TestWithParam<const char*> {};

// Every main row runs once, in order (a service routine only in between), and nothing fails,
// not even a transfer that a compare would not show.
TEST_P(Examples, RunGreen) {
    Rig rig;
    TempDir dir;
    const std::string path = dir.file(GetParam());
    std::filesystem::copy_file(std::filesystem::path(I2CB_EXAMPLES_DIR) / GetParam(), path);
    rig.main();
    auto w = rig.program->newScriptWindow();
    rig.dialogs.openChoices.push_back(path);
    w->Form_Load();
    const PassOutcome pass = w->cmdExecAll_Click();

    std::vector<int> main, all;
    for (int n = 1; n <= pass.lastMainRow; ++n) all.push_back(n);
    for (const RowOutcome& r : pass.rows)
        if (!r.inService) main.push_back(r.row);
    EXPECT_EQ(main, all);
    EXPECT_EQ(std::tuple(pass.failed, pass.end), std::tuple(0, PassEnd::Completed));
    EXPECT_GT(pass.passed, 0);
    EXPECT_TRUE(rig.dialogs.messages.empty());
}

INSTANTIATE_TEST_SUITE_P(All, Examples,
                         ::testing::Values("register_test.txt", "memory_test.txt", "gpio_walk.txt",
                                           "delay_endmain.txt", "interrupt_service.txt",
                                           "interrupt_rearm.txt"));

}  // namespace
}  // namespace i2cbridge::testing
