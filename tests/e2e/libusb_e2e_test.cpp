// The real driver end to end: the program's own UsbConnection and windows on LibusbDriver,
// libusb's usbfs backend, and the board emulated under umockdev. The connection contract runs
// here as on the simulated board; the rest is what only libusb's threads and the device node
// can show.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "libusb_rig.h"
#include "support/connection_contract.h"

namespace i2cbridge::testing {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(Libusb, ConnectionContract, LibusbRig);

const std::string kAccepted = "DeviceAttach: Received and accepted";

// How many messages of the log contain part.
long Count(const std::vector<std::string>& messages, const std::string& part) {
    return std::ranges::count_if(
        messages, [&](const std::string& m) { return m.find(part) != std::string::npos; });
}

// libusb knows the board is gone before the program is told: the lookup fails at once, while
// the detach waits for the program's next yield.
TEST(LibusbHotplug, DepartureFailsTheLookupBeforeTheDetachIsDelivered) {
    LibusbRig rig;
    rig.main().cmdUSBConnect_Click();
    const UsbDeviceHandle handle = rig.usb().DriverContext.DeviceHandle;
    // An interface number past a byte is refused before the claimed interface is let go.
    EXPECT_EQ(rig.driver.setInterface(handle, 0x100, 0), LIBUSB_ERROR_INVALID_PARAM);
    EXPECT_TRUE(rig.board.interfaceClaimed());
    rig.board.unplug();
    UsbDeviceInfo info;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (rig.driver.getDeviceInfo(handle, info) == 0 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(rig.driver.getDeviceInfo(handle, info), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(rig.log().find("DeviceDetach"), std::string::npos);
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, handle);
}

// Back while closed, the board is announced once at the next open, whether libusb had already
// seen it come back or sees it during the open.
TEST(LibusbHotplug, BoardPluggedWhileClosedIsAnnouncedOnceAtTheNextOpen) {
    LibusbRig rig;
    FrmI2CGeneral& w = rig.main();
    rig.usb().MatchTable.productId = 0;  // any product: libusb is asked for any, too
    w.cmdUSBConnect_Click();
    rig.markLog();
    rig.board.unplug();
    ASSERT_TRUE(rig.yieldUntilLogged("DeviceDetach"));
    w.cmdUSBDisconnect_Click();
    rig.board.plug();
    // Give libusb's own udev thread time to take the board back into its list: then both the
    // enumeration at the open and libusb's news of the arrival speak of it.
    rig.yieldUntil([] { return false; }, std::chrono::milliseconds(200));
    rig.markLog();
    w.cmdUSBConnect_Click();
    ASSERT_TRUE(rig.yieldUntil([&] { return rig.usb().DriverContext.DeviceHandle != 0; }));
    rig.yieldUntil([] { return false; }, std::chrono::milliseconds(100));
    EXPECT_EQ(Count(Messages(rig.logSinceMark()), kAccepted), 1) << rig.logSinceMark();
}

// Drops, for this thread, root's right to ignore file modes, so a node with mode 0 is refused
// to root as to anybody else; the destructor gives it back.
class WithoutFileOverride {
public:
    WithoutFileOverride() {
        if (syscall(SYS_capget, &header_, saved_) != 0) return;
        __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
        reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        active_ = syscall(SYS_capset, &header_, reduced) == 0;
    }
    ~WithoutFileOverride() {
        if (active_) syscall(SYS_capset, &header_, saved_);
    }
    bool active() const { return active_ || geteuid() != 0; }

private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved_[2]{};
    bool active_ = false;
};

TEST(LibusbPermission, BoardThatCannotBeOpenedIsReportedWithAdvice) {
    LibusbRig rig;
    FrmI2CGeneral& w = rig.main();
    rig.board.setNodeMode(0);
    WithoutFileOverride unprivileged;
    if (!unprivileged.active()) GTEST_SKIP() << "cannot drop the file-mode override";
    rig.markLog();
    w.cmdUSBConnect_Click();
    // The notice comes between the open's first line and its failed lookup.
    const auto messages = Messages(rig.logSinceMark());
    ASSERT_EQ(messages.size(), 3u) << rig.logSinceMark();
    EXPECT_EQ(messages[1],
              "Board found but cannot be opened: permission denied (see the udev rule in the "
              "README)");
    EXPECT_TRUE(messages[2].starts_with("WriteGPIOPipe: WDU_GetDeviceInfo() failed:"));
    w.cmdUSBDisconnect_Click();

    // With the rule installed (here: the mode put right) the next open gets the board.
    rig.board.setNodeMode(0666);
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(Count(Messages(rig.logSinceMark()), kAccepted), 1) << rig.logSinceMark();
    w.cmdUSBDisconnect_Click();
}

// Keeping libusb between opens must not change what the log shows.
TEST(LibusbRestart, KeptOrFreshContextTellsTheSameStory) {
    auto session = [](LibusbRig& rig) {
        FrmI2CGeneral& w = rig.main();
        for (int i = 0; i < 3; ++i) {
            w.cmdUSBConnect_Click();
            SingleRegisterRead(rig.usb(), rig.wb->i2c, 0x61, 0x02);
            w.cmdUSBDisconnect_Click();
        }
        return Messages(rig.log());
    };
    // One emulated board at a time: the first rig is gone before the second is made.
    const auto kept =
        session(*std::make_unique<LibusbRig>(BoardSetup{}, LibusbDriverOptions{true}));
    EXPECT_EQ(Count(kept, kAccepted), 5);
    EXPECT_EQ(Count(kept, "failed"), 0);
    LibusbRig fresh(BoardSetup{}, LibusbDriverOptions{false});
    EXPECT_EQ(session(fresh), kept);
}

}  // namespace
}  // namespace i2cbridge::testing
