// The real driver end to end: the program's own UsbConnection and windows on LibusbDriver,
// libusb's usbfs backend, and the board emulated under umockdev. The connection contract runs
// here as on the simulated board; the rest is what only libusb's threads and the device node
// can show.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "libusb_rig.h"
#include "support/connection_contract.h"

namespace i2cbridge::testing {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(Libusb, ConnectionContract, LibusbRig);

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// libusb knows the board is gone before the program is told: the lookup fails at once, and the
// detach handler still runs only at a yield.
TEST(LibusbHotplug, DepartureFailsTheLookupBeforeTheDetachIsDelivered) {
    LibusbRig rig;
    rig.main().cmdUSBConnect_Click();
    const UsbDeviceHandle handle = rig.usb().DriverContext.DeviceHandle;
    rig.board.unplug();
    UsbDeviceInfo info;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (rig.driver.getDeviceInfo(handle, info) == 0 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(rig.driver.getDeviceInfo(handle, info), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(rig.log().find("DeviceDetach"), std::string::npos);
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, handle);

    rig.pump.yield();
    EXPECT_NE(rig.log().find("DeviceDetach: Received detach for device handle &H3"),
              std::string::npos);
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, 0u);
}

TEST(LibusbHotplug, BoardPluggedWhileClosedIsAnnouncedOnceAtTheNextOpen) {
    LibusbRig rig;
    FrmI2CGeneral& w = rig.main();
    w.cmdUSBConnect_Click();
    rig.markLog();
    rig.board.unplug();
    ASSERT_TRUE(rig.yieldUntilLogged("DeviceDetach"));
    w.cmdUSBDisconnect_Click();

    // Gone while closed: the next open finds nothing.
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetUpEntry + LookupFailure("WriteGPIOPipe"));
    w.cmdUSBDisconnect_Click();

    // Back while closed: the next open announces it, once, whether libusb had already seen it
    // come back or sees it during the open.
    rig.board.plug();
    // Give libusb's own udev thread time to take the board back into its list: then both the
    // enumeration at the open and libusb's news of the arrival speak of it.
    rig.yieldUntil([] { return false; }, std::chrono::milliseconds(200));
    rig.markLog();
    w.cmdUSBConnect_Click();
    ASSERT_TRUE(rig.yieldUntil([&] { return rig.usb().DriverContext.DeviceHandle != 0; }));
    rig.yieldUntil([] { return false; }, std::chrono::milliseconds(100));
    EXPECT_EQ(Count(rig.logSinceMark(), "DeviceAttach: Received and accepted"), 1u)
        << rig.logSinceMark();
    EXPECT_EQ(SingleRegisterRead(rig.usb(), rig.wb->i2c, 0x61, 0x02)[1], 0x5A);
}

// Drops, for this thread, root's right to ignore file modes, so a node with mode 0 is refused
// to root as to anybody else.
class WithoutFileOverride {
public:
    WithoutFileOverride() {
        header_.version = _LINUX_CAPABILITY_VERSION_3;
        header_.pid = 0;
        if (syscall(SYS_capget, &header_, saved_) != 0) return;
        __user_cap_data_struct reduced[2];
        std::memcpy(reduced, saved_, sizeof reduced);
        reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        active_ = syscall(SYS_capset, &header_, reduced) == 0;
    }
    ~WithoutFileOverride() {
        if (active_) syscall(SYS_capset, &header_, saved_);
    }
    bool active() const { return active_ || geteuid() != 0; }

private:
    __user_cap_header_struct header_{};
    __user_cap_data_struct saved_[2]{};
    bool active_ = false;
};

TEST(LibusbPermission, BoardThatCannotBeOpenedIsReportedWithAdvice) {
    LibusbRig rig;
    FrmI2CGeneral& w = rig.main();
    rig.board.setNodeMode(0);
    {
        WithoutFileOverride unprivileged;
        if (!unprivileged.active()) GTEST_SKIP() << "cannot drop the file-mode override";
        rig.markLog();
        w.cmdUSBConnect_Click();
        EXPECT_EQ(rig.logSinceMark(),
                  kSetUpEntry +
                      Entry("Board found but cannot be opened: permission denied (see the udev "
                            "rule in the README)") +
                      LookupFailure("WriteGPIOPipe"));
        EXPECT_TRUE(rig.usb().UsbOpen);
        w.cmdUSBDisconnect_Click();

        // With the rule installed (here: the mode put right) the next open gets the board.
        rig.board.setNodeMode(0666);
        rig.markLog();
        w.cmdUSBConnect_Click();
        EXPECT_EQ(rig.logSinceMark(), kSetUpEntry + AttachEntry(3));
        w.cmdUSBDisconnect_Click();
    }
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
        return rig.log();
    };
    std::string keptLog;
    {
        LibusbRig kept(BoardSetup{}, LibusbDriverOptions{true});
        keptLog = session(kept);
    }
    EXPECT_EQ(Count(keptLog, "DeviceAttach: Received and accepted"), 5u) << keptLog;
    EXPECT_EQ(Count(keptLog, "failed"), 0u) << keptLog;

    LibusbRig fresh(BoardSetup{}, LibusbDriverOptions{false});
    EXPECT_EQ(session(fresh), keptLog);
}

}  // namespace
}  // namespace i2cbridge::testing
