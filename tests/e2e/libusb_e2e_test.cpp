// The real driver end to end: the program's own UsbConnection and windows on LibusbDriver,
// libusb's usbfs backend, and the board emulated under umockdev.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <regex>

#include "gpio/frm_gpio.h"
#include "libusb_rig.h"
#include "workbench/i2c_frames.h"

namespace i2cbridge::testing {
namespace {

const std::string kSetUp =
    Entry("Setting eventable up,  verifing that the device is attached...\r\n");

std::string AttachEntry(const std::string& product, const std::string& handle) {
    return Entry(
               "DeviceAttach: Received and accepted attach for \r\nvendor ID &H547 product ID &H" +
               product + "\r\ndevice handle &H" + handle) +
           Entry("");
}

const std::string kOpenLookupFailed = Entry(
    "WriteGPIOPipe: WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC (LIBUSB_ERROR_NO_DEVICE)\r\n");

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

std::vector<WireFrame> Frames(std::initializer_list<WireFrame> frames) {
    return frames;
}

// The tool's handles are the driver's business: the simulated board counts from 0x2A0, libusb
// from 1. Everything else in the log must be the same.
std::string WithoutHandles(const std::string& log) {
    static const std::regex handle("(device handle &H|device &H)[0-9A-F]+");
    return std::regex_replace(log, handle, "$1#");
}

TEST(LibusbOpen, StartupProbeAndConnectAnnounceThePresentBoard) {
    LibusbRig rig;
    FrmI2CGeneral& w = rig.main();
    // The load's probe and its start-up GPIO write each open and close once.
    EXPECT_EQ(rig.log().substr(0, kSetUp.size() + AttachEntry("2005", "1").size()),
              kSetUp + AttachEntry("2005", "1"));
    EXPECT_NE(rig.log().find(AttachEntry("2005", "2")), std::string::npos) << rig.log();
    EXPECT_FALSE(rig.usb().UsbOpen);

    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetUp + AttachEntry("2005", "3"));
    EXPECT_TRUE(rig.usb().UsbOpen);
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, 3u);
    EXPECT_EQ(rig.usb().DriverContext.AttachStatus, 0);
    EXPECT_EQ(rig.usb().LastStatus, 0);
    EXPECT_TRUE(rig.board.interfaceClaimed());
    EXPECT_EQ(rig.board.alternateSetting(), 0);
    EXPECT_EQ(rig.usb().DeviceInfo.productId(), BoardProductId);
    EXPECT_EQ(rig.usb().DeviceInfo.activeEndpointCount(), 5);
    EXPECT_EQ(w.shpUSBCon[0].color(), rig.wb->colors.lightGreen());
    EXPECT_EQ(w.ShpHandleStatus.color(), rig.wb->colors.lightGreen());
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);

    const int resetsBefore = rig.board.requests("RESET");
    rig.markLog();
    w.cmdUSBDisconnect_Click();
    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_FALSE(rig.usb().UsbOpen);
    EXPECT_EQ(rig.board.requests("RESET"), resetsBefore + 1);
    EXPECT_FALSE(rig.board.interfaceClaimed()) << "the close lets the interface go";
    EXPECT_FALSE(rig.driver.running());
    EXPECT_EQ(rig.driver.openDeviceCount(), 0u);
    EXPECT_EQ(rig.board.requests("unknown"), 0) << "only requests a kernel would know";
}

TEST(LibusbTransfers, RegisterReadAndWriteCarryTheExactBytes) {
    LibusbRig rig;
    rig.main().cmdUSBConnect_Click();
    rig.board.clearSent();
    rig.markLog();
    UsbConnection& usb = rig.usb();
    I2CState& i2c = rig.wb->i2c;

    EXPECT_EQ(SingleRegisterRead(usb, i2c, 0x61, 0x02), (std::vector<uint8_t>{1, 0x5A}));
    EXPECT_EQ(rig.board.sent(), Frames({{0x02, {1, 0x61, 0x02}}}));

    rig.board.clearSent();
    EXPECT_EQ(SingleRegisterWrite(usb, i2c, 0x60, 0x10, 0xC3), (std::vector<uint8_t>{3, 0}));
    EXPECT_EQ(rig.board.sent(), Frames({{0x02, {1, 0x60, 0x10, 0xC3}}}));
    EXPECT_EQ(rig.board.withModel([](BoardModel& m) { return m.device(0x60)->registers[0x10]; }),
              0xC3);
    EXPECT_EQ(SingleRegisterRead(usb, i2c, 0x61, 0x10), (std::vector<uint8_t>{1, 0xC3}));

    // Nobody answers at 0x70: the board replies with a count of 0.
    EXPECT_EQ(SingleRegisterRead(usb, i2c, 0x71, 0x00), (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(usb.BytesTransferred, 1u);

    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_EQ(usb.LastStatus, 0);
}

TEST(LibusbTransfers, ZeroLengthWriteAndAnswerLongerThanTheBuffer) {
    LibusbRig rig;
    rig.main().cmdUSBConnect_Click();
    UsbConnection& usb = rig.usb();
    rig.board.clearSent();
    rig.markLog();

    // No buffer, length 0: an empty frame reaches the board, which answers it with a count 0.
    usb.TransferPipe = 2;
    usb.TransferLength = 0;
    usb.Redim(0);
    usb.writePipe();
    EXPECT_EQ(usb.LastStatus, 0);
    EXPECT_EQ(rig.board.sent(), Frames({{0x02, {}}}));

    // A 25-byte GPIO answer read into a 2-byte buffer overflows, as on the simulated board.
    usb.TransferPipe = 1;
    usb.TransferLength = 2;
    usb.TransferBuffer = {0xFF, 0xFF};
    usb.writePipe();
    usb.TransferPipe = 0x81;
    usb.TransferLength = 2;
    usb.Redim(2);
    usb.readPipe();
    EXPECT_EQ(usb.LastStatus, LIBUSB_ERROR_OVERFLOW);
    EXPECT_NE(rig.logSinceMark().find(Entry(
                  "ReadPipe: WDU_Transfer() failed: error &HFFFFFFF8 (LIBUSB_ERROR_OVERFLOW)")),
              std::string::npos)
        << rig.logSinceMark();
}

TEST(LibusbGpio, StartupStateAndBothFramesReachThePins) {
    LibusbRig rig;
    rig.main();
    // The load sends the start-up state: data all high, no pin driven.
    const auto atLoad = rig.board.sent();
    ASSERT_FALSE(atLoad.empty());
    EXPECT_EQ(atLoad.back(), (WireFrame{0x01, {0xFF, 0xFF, 0x00, 0x00}}));

    rig.board.clearSent();
    rig.board.withModel([](BoardModel& m) {
        m.gpio().pbInputs = 0x3C;
        return 0;
    });
    rig.wb->GpioState = {0x0F, 0x30, 0xA5, 0x5A};
    FrmGPIO& gpio = rig.wb->gpioScreen();
    gpio.cmdGPIO_Write_Click();
    EXPECT_EQ(rig.board.sent(), Frames({{0x01, {0xA5, 0x5A, 0x0F, 0x30}}}));
    // Driven pins read back what they drive, the others their inputs.
    EXPECT_EQ(gpio.txtPCHexData[1].text(), "35");
    EXPECT_EQ(gpio.txtPCHex[1].text(), "0F");
    EXPECT_EQ(gpio.txtPCHex[3].text(), "30");
    EXPECT_EQ(gpio.shpGpioWr[2].color(), rig.wb->colors.lightGreen());

    rig.board.clearSent();
    rig.wb->GpioState[2] = 0x00;
    gpio.cmdWrite_GPIO_Data_Click();
    EXPECT_EQ(rig.board.sent(), Frames({{0x01, {0x00, 0x5A}}}));
    EXPECT_EQ(rig.board.withModel([](BoardModel& m) { return m.gpio().pbData; }), 0x00);
    EXPECT_EQ(gpio.txtPCHexData[1].text(), "30");
    EXPECT_FALSE(rig.usb().UsbOpen) << "the GPIO screen closes what it opened";
}

TEST(LibusbTimeout, InThatNeverGetsAnAnswerFailsAfterTheLimit) {
    LibusbRig rig;
    rig.main().cmdUSBConnect_Click();
    UsbConnection& usb = rig.usb();
    rig.markLog();
    usb.TransferPipe = 0x82;
    usb.TransferLength = 2;
    usb.Redim(2);
    usb.TransferBuffer[0] = 0x33;
    const auto start = std::chrono::steady_clock::now();
    usb.readPipe();
    const auto waited = std::chrono::steady_clock::now() - start;

    EXPECT_EQ(rig.logSinceMark(),
              Entry("ReadPipe: WDU_Transfer() failed: error &HFFFFFFF9 (LIBUSB_ERROR_TIMEOUT)"));
    EXPECT_EQ(usb.LastStatus, LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0x33, 0x00}));
    EXPECT_GE(waited, std::chrono::milliseconds(kTransferTimeoutMs));
    EXPECT_EQ(rig.board.requests("DISCARDURB"), 1) << "libusb gave the read up";
    EXPECT_TRUE(rig.wb->log.LogErrorFlag);
    EXPECT_EQ(rig.main().shpLogStatus.color(), rig.wb->colors.lightRed());

    // The abandoned read leaves nothing behind: the next exchange gets its own answer.
    EXPECT_EQ(SingleRegisterRead(usb, rig.wb->i2c, 0x61, 0x02), (std::vector<uint8_t>{1, 0x5A}));
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
}

TEST(LibusbHotplug, UnplugWhileOpenThenPlugBackInWithoutANewOpen) {
    LibusbRig rig;
    FrmI2CGeneral& w = rig.main();
    w.cmdUSBConnect_Click();
    const int opensBefore = rig.board.opens();

    rig.markLog();
    rig.board.unplug();
    ASSERT_TRUE(rig.yieldUntilLogged("DeviceDetach"));
    EXPECT_EQ(rig.logSinceMark(), Entry("DeviceDetach: Received detach for device handle &H3"));
    EXPECT_EQ(w.ShpAttach.color(), rig.wb->colors.lightRed());
    EXPECT_TRUE(rig.usb().UsbOpen);
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, 0u);

    // Transfers now fail at their device-information step and send nothing.
    rig.board.clearSent();
    rig.markLog();
    UsbConnection& usb = rig.usb();
    usb.TransferPipe = 2;
    usb.TransferLength = 3;
    usb.TransferBuffer = {1, 0x61, 0x02};
    usb.writePipe();
    usb.TransferPipe = 0x82;
    usb.TransferLength = 2;
    usb.TransferBuffer = {0x44, 0x45};
    usb.readPipe();
    EXPECT_EQ(rig.logSinceMark(),
              Entry("WritePipe: WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC "
                    "(LIBUSB_ERROR_NO_DEVICE)\r\n") +
                  Entry("ReadPipe: WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC "
                        "(LIBUSB_ERROR_NO_DEVICE)\r\n"));
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0x44, 0x45}));
    EXPECT_TRUE(rig.board.sent().empty());

    rig.markLog();
    rig.board.plug();
    ASSERT_TRUE(rig.yieldUntilLogged("DeviceAttach"));
    EXPECT_EQ(rig.logSinceMark(), AttachEntry("2005", "4"));
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, 4u);
    EXPECT_EQ(rig.board.opens(), opensBefore + 1);
    EXPECT_TRUE(rig.board.interfaceClaimed());

    EXPECT_EQ(SingleRegisterRead(usb, rig.wb->i2c, 0x61, 0x02), (std::vector<uint8_t>{1, 0x5A}));
    EXPECT_EQ(Count(rig.log(), "Setting eventable up"), 3u) << "probe, GPIO at load, connect";
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
    EXPECT_EQ(rig.logSinceMark(), kSetUp + kOpenLookupFailed);
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
    EXPECT_EQ(SingleRegisterRead(rig.usb(), rig.wb->i2c, 0x61, 0x02),
              (std::vector<uint8_t>{1, 0x5A}));
}

TEST(LibusbRefusal, BoardThatRefusesItsInterfaceIsNotAccepted) {
    EmulatedBoardConfig busy;
    busy.claimErrno = EBUSY;
    LibusbRig rig(busy);
    FrmI2CGeneral& w = rig.main();
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(),
              kSetUp +
                  Entry("DeviceAttach: WDU_SetInterface failed\r\n(num.  0 alternate  0)\r\n"
                        "device &H3: error &HFFFFFFFA\r\n(LIBUSB_ERROR_BUSY)") +
                  Entry("") + kOpenLookupFailed);
    EXPECT_EQ(rig.usb().DriverContext.AttachStatus, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(rig.usb().DriverContext.DeviceHandle, 0u);
    EXPECT_TRUE(rig.usb().UsbOpen);
    EXPECT_EQ(w.shpLogStatus.color(), rig.wb->colors.lightRed());
    EXPECT_EQ(rig.driver.openDeviceCount(), 0u) << "a refused board is let go";
    EXPECT_FALSE(rig.board.interfaceClaimed());
    w.cmdUSBDisconnect_Click();
}

TEST(LibusbMatching, BoardWithAnotherProductIsIgnoredUnlessAskedFor) {
    EmulatedBoardConfig other;
    other.productId = 0x2006;
    LibusbRig rig(other);
    FrmI2CGeneral& w = rig.main();
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetUp + kOpenLookupFailed);
    EXPECT_EQ(rig.board.opens(), 0) << "never opened";
    w.cmdUSBDisconnect_Click();

    // The same board matched by its own product identifier, as --pid 0x2006 would.
    rig.usb().MatchTable.productId = 0x2006;
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetUp + AttachEntry("2006", "1"));
    w.cmdUSBDisconnect_Click();
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
                  kSetUp +
                      Entry("Board found but cannot be opened: permission denied (see the udev "
                            "rule in the README)") +
                      kOpenLookupFailed);
        EXPECT_TRUE(rig.usb().UsbOpen);
        w.cmdUSBDisconnect_Click();

        // With the rule installed (here: the mode put right) the next open gets the board.
        rig.board.setNodeMode(0666);
        rig.markLog();
        w.cmdUSBConnect_Click();
        EXPECT_EQ(rig.logSinceMark(), kSetUp + AttachEntry("2005", "3"));
        w.cmdUSBDisconnect_Click();
    }
}

// The same session on the simulated board and on the real driver leaves the same log, the same
// frames on the wire, the same replies and the same lamps.
TEST(LibusbAgainstSimulated, SameSessionSameLogWireAndLamps) {
    struct Outcome {
        std::string log;
        std::vector<WireFrame> wire;
        std::vector<std::vector<uint8_t>> replies;
        std::vector<int> lamps;
    };
    auto session = [](Workbench& wb) {
        Outcome out;
        FrmI2CGeneral& w = wb.mainWindow();
        w.cmdUSBConnect_Click();
        out.replies.push_back(SingleRegisterRead(wb.usb, wb.i2c, 0x61, 0x02));
        out.replies.push_back(SingleRegisterWrite(wb.usb, wb.i2c, 0x60, 0x10, 0xC3));
        out.replies.push_back(SingleRegisterRead(wb.usb, wb.i2c, 0x61, 0x10));
        out.replies.push_back(SingleRegisterRead(wb.usb, wb.i2c, 0x71, 0x00));
        wb.usb.TransferPipe = 4;
        wb.usb.TransferLength = 2;
        wb.usb.TransferBuffer = {0x12, 0x34};
        wb.usb.writePipe();
        w.cmdUSBDisconnect_Click();
        wb.GpioState = {0x0F, 0x30, 0xA5, 0x5A};
        wb.gpioScreen().cmdGPIO_Write_Click();
        out.log = WithoutHandles(w.Txtlog.text());
        out.lamps = {w.shpLogStatus.color(), w.ShpAttach.color(), w.shpUSBCon[0].color(),
                     w.shpUSBCon[1].color(), w.ShpHandleStatus.color()};
        for (const auto& lamp : wb.gpioScreen().shpGpioWr) out.lamps.push_back(lamp.color());
        return out;
    };

    Rig simulated;
    const Outcome expected = session(*simulated.wb);
    LibusbRig real;
    const Outcome actual = session(*real.wb);
    EXPECT_EQ(actual.log, expected.log);
    EXPECT_EQ(real.board.sent(), simulated.sent());
    EXPECT_EQ(actual.replies, expected.replies);
    EXPECT_EQ(actual.lamps, expected.lamps);
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
        LibusbRig kept({}, LibusbDriverOptions{true});
        keptLog = session(kept);
    }
    EXPECT_EQ(Count(keptLog, "DeviceAttach: Received and accepted"), 5u) << keptLog;
    EXPECT_EQ(Count(keptLog, "failed"), 0u) << keptLog;

    LibusbRig fresh({}, LibusbDriverOptions{false});
    EXPECT_EQ(session(fresh), keptLog);
}

}  // namespace
}  // namespace i2cbridge::testing
