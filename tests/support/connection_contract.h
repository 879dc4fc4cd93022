#pragma once

// What the program sees of a board through any driver: the open and close with their log
// lines and lamps, attach and detach, refusals, and transfers. The same cases run on the
// simulated board (tests/usb) and on the real driver against the emulated board (tests/e2e),
// so the two cannot drift apart. Include this in exactly one file of a test program and
// instantiate it with INSTANTIATE_TYPED_TEST_SUITE_P(Name, ConnectionContract, RigType).
//
// A rig provides: a constructor from BoardSetup, kFirstHandle, wb, pump, main(), log(),
// markLog(), logSinceMark(), sent(), clearSent(), withModel(f), board.unplug(), board.plug(),
// yieldUntilLogged(text), resets() and running().

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "foundation/hex_text.h"
#include "support/fakes.h"
#include "workbench/exchange.h"

namespace i2cbridge::testing {

// The log's messages (without time stamps) of an open, an attach and a failed device lookup.
using Log = std::vector<std::string>;
inline Log operator+(Log a, const Log& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline const Log kSetUp = {"Setting eventable up,  verifing that the device is attached...\r\n"};
inline Log Attached(UsbDeviceHandle handle, const std::string& product = "2005") {
    return {"DeviceAttach: Received and accepted attach for \r\nvendor ID &H547 product ID &H" +
                product + "\r\ndevice handle &H" + HexText(handle),
            ""};
}
inline Log Lookup(const std::string& where) {
    return {where +
            ": WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC (LIBUSB_ERROR_NO_DEVICE)\r\n"};
}
inline Log TransferFailed(const std::string& where, const std::string& code) {
    return {where + ": WDU_Transfer() failed: error " + code};
}

template <class R>
class ConnectionContract : public ::testing::Test {
protected:
    // The program after its start-up: the load's probe and GPIO write each opened and closed
    // once, taking the driver's first two handles.
    void start(BoardSetup setup = {}) {
        rig = std::make_unique<R>(setup);
        w = &rig->main();
        rig->clearSent();
        rig->markLog();
    }
    static UsbDeviceHandle handle(int n) { return R::kFirstHandle + n; }
    UsbConnection& usb() { return rig->wb->usb; }
    const ColorSet& colors() { return rig->wb->colors; }
    std::vector<uint8_t> read(uint8_t address, uint8_t reg) {
        return SingleRegisterRead(usb(), rig->wb->i2c, address, reg).bytes();
    }
    void transfer(uint32_t pipe, bool isRead, std::vector<uint8_t> buffer) {
        usb().TransferPipe = pipe;
        usb().TransferLength = static_cast<uint32_t>(buffer.size());
        usb().TransferBuffer = std::move(buffer);
        isRead ? usb().readPipe() : usb().writePipe();
    }
    // The messages logged since the mark.
    Log logged() { return Messages(rig->logSinceMark()); }
    void connect() {
        w->cmdUSBConnect_Click();
        rig->markLog();
    }
    // Pulls the cable while open and waits until the program has been told.
    void unplugWhileOpen() {
        rig->board.unplug();
        ASSERT_TRUE(rig->yieldUntilLogged("DeviceDetach"));
    }

    std::unique_ptr<R> rig;
    FrmI2CGeneral* w = nullptr;
};

TYPED_TEST_SUITE_P(ConnectionContract);

TYPED_TEST_P(ConnectionContract, ConnectAgainAndDisconnectWithTheBoard) {
    this->start();
    auto& w = *this->w;
    auto& rig = *this->rig;
    w.cmdexit.setVisible(true);
    w.cmdUSBConnect_Click();
    EXPECT_EQ(this->logged(), kSetUp + Attached(this->handle(2)));
    EXPECT_TRUE(this->usb().UsbOpen);
    EXPECT_EQ(this->usb().DriverContext.DeviceHandle, this->handle(2));
    EXPECT_EQ(this->usb().DeviceInfo.activeEndpointCount(), 5);
    const int lit = this->colors().lightGreen();
    EXPECT_EQ(std::vector({w.shpUSBCon[0].color(), w.shpUSBCon[1].color(),
                           w.ShpHandleStatus.color(), w.shpLogStatus.color()}),
              std::vector({lit, qb::kBlack, lit, lit}));
    EXPECT_FALSE(w.cbNoc.visible() || w.cmdexit.visible());

    // A second connect only says so.
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(this->logged(), Log{"Already Opened"});

    w.cbSend.setVisible(true);
    w.cbReset.setVisible(true);
    const int resets = rig.resets();
    rig.markLog();
    w.cmdUSBDisconnect_Click();
    EXPECT_FALSE(this->usb().UsbOpen || rig.running());
    EXPECT_EQ(rig.resets(), resets + 1);
    EXPECT_EQ(
        std::vector({w.shpUSBCon[0].color(), w.shpUSBCon[1].color(), w.ShpHandleStatus.color()}),
        std::vector({qb::kBlack, lit, qb::kBlack}));
    EXPECT_FALSE(w.cbSend.visible() || w.cbReset.visible());
    if constexpr (requires { rig.driver.openDeviceCount(); }) {
        EXPECT_FALSE(rig.board.interfaceClaimed()) << "the close lets the interface go";
        EXPECT_EQ(rig.driver.openDeviceCount(), 0u);
        EXPECT_EQ(rig.board.requests("unknown"), 0) << "only requests a kernel would know";
    }

    // Disconnecting again resets nothing but still paints the closed state.
    w.txthDriver.setText("x");
    w.cmdUSBDisconnect_Click();
    EXPECT_EQ(rig.logSinceMark() + w.txthDriver.text(), "Closed");
    EXPECT_EQ(rig.resets(), resets + 1);
}

// Pulled while open: transfers fail at their device lookup, send nothing and leave the
// caller's bytes; plugged back while open it is announced without a new open. Opened while it
// is away, the connection counts as open and the log lamp turns red; plugged back while
// closed, the next open finds it.
TYPED_TEST_P(ConnectionContract, UnplugFailsTransfersUntilThePlugComesBack) {
    this->start();
    auto& rig = *this->rig;
    auto& w = *this->w;
    this->connect();
    this->unplugWhileOpen();
    EXPECT_EQ(this->logged(),
              Log{"DeviceDetach: Received detach for device handle &H" + HexText(this->handle(2))});
    EXPECT_EQ(w.ShpAttach.color(), this->colors().lightRed());
    EXPECT_TRUE(this->usb().UsbOpen);
    EXPECT_EQ(this->usb().DriverContext.DeviceHandle, 0u);
    rig.markLog();
    this->transfer(2, false, {1, 0x61, 0x02});
    this->transfer(0x82, true, {0x44, 0x45});
    EXPECT_EQ(this->usb().TransferBuffer, (std::vector<uint8_t>{0x44, 0x45}));
    EXPECT_EQ(this->read(0x61, 0x02), (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(this->logged(),
              Lookup("WritePipe") + Lookup("ReadPipe") + Lookup("WritePipe") + Lookup("ReadPipe"));
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_EQ(w.shpLogStatus.color(), this->colors().lightRed());

    rig.markLog();
    rig.board.plug();
    ASSERT_TRUE(rig.yieldUntilLogged("DeviceAttach"));
    EXPECT_EQ(this->logged(), Attached(this->handle(3)));
    EXPECT_EQ(this->read(0x61, 0x02), (std::vector<uint8_t>{1, BoardModel::kIdentifier}));
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);

    w.cmdUSBDisconnect_Click();
    rig.board.unplug();
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(this->logged(), kSetUp + Lookup("WriteGPIOPipe"));
    EXPECT_TRUE(this->usb().UsbOpen && rig.wb->log.LogErrorFlag);
    EXPECT_EQ(std::vector({w.shpUSBCon[0].color(), w.ShpHandleStatus.color()}),
              std::vector(2, this->colors().lightGreen()));
    w.cmdUSBDisconnect_Click();
    rig.board.plug();
    rig.markLog();
    w.cmdUSBConnect_Click();
    ASSERT_TRUE(rig.yieldUntilLogged("DeviceAttach: Received and accepted"));
    EXPECT_EQ(this->read(0x61, 0x02), (std::vector<uint8_t>{1, BoardModel::kIdentifier}));
}

TYPED_TEST_P(ConnectionContract, BoardThatRefusesItsInterfaceIsNotAccepted) {
    this->start({.refuseInterface = true});
    auto& rig = *this->rig;
    this->w->cmdUSBConnect_Click();
    const std::string refused =
        "DeviceAttach: WDU_SetInterface failed\r\n(num.  0 alternate  0)\r\n"
        "device &H" +
        HexText(this->handle(2)) + ": error &HFFFFFFFA\r\n(LIBUSB_ERROR_BUSY)";
    EXPECT_EQ(this->logged(), kSetUp + Log({refused, ""}) + Lookup("WriteGPIOPipe"));
    EXPECT_EQ(this->usb().DriverContext.AttachStatus, usb_status::kBusy);
    EXPECT_EQ(this->usb().DriverContext.DeviceHandle, 0u);
    EXPECT_TRUE(this->usb().UsbOpen);
    EXPECT_EQ(this->w->shpLogStatus.color(), this->colors().lightRed());
    if constexpr (requires { rig.driver.openDeviceCount(); }) {
        EXPECT_EQ(rig.driver.openDeviceCount(), 0u) << "a refused board is let go";
        EXPECT_FALSE(rig.board.interfaceClaimed());
    }
    this->w->cmdUSBDisconnect_Click();
}

TYPED_TEST_P(ConnectionContract, BoardWithAnotherProductIsIgnoredUnlessAskedFor) {
    this->start({.productId = 0x2006});
    this->w->cmdUSBConnect_Click();
    EXPECT_EQ(this->logged(), kSetUp + Lookup("WriteGPIOPipe"));
    this->w->cmdUSBDisconnect_Click();

    // The same board matched by its own product identifier, as --pid 0x2006 does.
    this->usb().MatchTable.productId = 0x2006;
    this->rig->markLog();
    this->w->cmdUSBConnect_Click();
    const UsbDeviceHandle h = this->usb().DriverContext.DeviceHandle;
    EXPECT_NE(h, 0u);
    EXPECT_EQ(this->logged(), kSetUp + Attached(h, "2006"));
    this->w->cmdUSBDisconnect_Click();
}

TYPED_TEST_P(ConnectionContract, RegisterExchangesCarryTheExactBytes) {
    this->start();
    auto& rig = *this->rig;
    this->connect();
    EXPECT_EQ(this->read(0x61, 0x02), (std::vector<uint8_t>{1, BoardModel::kIdentifier}));
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x02, {1, 0x61, 0x02}}}));
    rig.clearSent();
    const Reply written = SingleRegisterWrite(this->usb(), rig.wb->i2c, 0x60, 0x10, 0xC3);
    EXPECT_EQ(written.bytes(), (std::vector<uint8_t>{3, 0}));
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x02, {1, 0x60, 0x10, 0xC3}}}));
    EXPECT_EQ(this->read(0x61, 0x10), (std::vector<uint8_t>{1, 0xC3}));
    // Nobody answers at 0x70: the board replies with a count of 0 and nothing else.
    EXPECT_EQ(this->read(0x71, 0x00), (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(this->usb().BytesTransferred, 1u);
    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_EQ(this->usb().LastStatus, 0);
}

TYPED_TEST_P(ConnectionContract, GpioFrameReachesThePinsAndTheAnswerComesBack) {
    this->start();
    auto& rig = *this->rig;
    rig.withModel([](BoardModel& m) { return m.gpio().pbInputs = 0x3C; });
    rig.wb->GpioState = {0x0F, 0x30, 0xA5, 0x5A};
    FrmGPIO& gpio = rig.program->gpioScreen();
    gpio.cmdGPIO_Write_Click();
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x01, {0xA5, 0x5A, 0x0F, 0x30}}}));
    // Driven pins read back what they drive, the others their inputs.
    EXPECT_EQ(gpio.txtPCHexData[1].text() + gpio.txtPCHex[1].text() + gpio.txtPCHex[3].text(),
              "350F30");
    EXPECT_EQ(gpio.shpGpioWr[2].color(), this->colors().lightGreen());
    EXPECT_FALSE(this->usb().UsbOpen) << "the GPIO screen closes what it opened";
}

TYPED_TEST_P(ConnectionContract, EmptyWritesOverflowsAndBadPipes) {
    this->start();
    auto& rig = *this->rig;
    this->connect();
    // No buffer, length 0: an empty frame reaches the board.
    this->transfer(4, false, {});
    EXPECT_EQ(this->usb().LastStatus, 0);
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x04, {}}}));

    // The 25-byte GPIO answer read into 2 bytes overflows.
    this->transfer(1, false, {0xFF, 0xFF});
    this->transfer(0x81, true, {0, 0});
    EXPECT_EQ(this->usb().LastStatus, usb_status::kOverflow);
    EXPECT_EQ(this->logged(), TransferFailed("ReadPipe", "&HFFFFFFF8 (LIBUSB_ERROR_OVERFLOW)"));

    // Pipes that are no endpoint for the direction are refused before reaching the bus.
    rig.clearSent();
    const std::pair<uint32_t, bool> bad[] = {{0, false},    {0x80, true}, {0x102, false},
                                             {0x82, false}, {2, true},    {0xC2, true}};
    for (const auto& [pipe, isRead] : bad) {
        rig.markLog();
        this->transfer(pipe, isRead, {1, 0x61});
        EXPECT_EQ(this->usb().LastStatus, usb_status::kInvalidParam) << pipe;
        EXPECT_EQ(this->logged(), TransferFailed(isRead ? "ReadPipe" : "WritePipe",
                                                 "&HFFFFFFFE (LIBUSB_ERROR_INVALID_PARAM)"))
            << pipe;
    }
    EXPECT_TRUE(rig.sent().empty());
}

TYPED_TEST_P(ConnectionContract, ReadWithNothingToAnswerTimesOutAndKeepsTheCallersBytes) {
    this->start();
    auto& rig = *this->rig;
    this->connect();
    const auto start = std::chrono::steady_clock::now();
    this->transfer(0x82, true, {0x33, 0x00});
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(this->logged(), TransferFailed("ReadPipe", "&HFFFFFFF9 (LIBUSB_ERROR_TIMEOUT)"));
    EXPECT_EQ(this->usb().LastStatus, usb_status::kTimeout);
    EXPECT_EQ(this->usb().TransferBuffer, (std::vector<uint8_t>{0x33, 0x00}));
    EXPECT_EQ(this->w->shpLogStatus.color(), this->colors().lightRed());
    if constexpr (requires { rig.driver.openDeviceCount(); }) {
        EXPECT_GE(waited, std::chrono::milliseconds(kTransferTimeoutMs));
        EXPECT_EQ(rig.board.requests("DISCARDURB"), 1) << "libusb gave the read up";
    }
    // The abandoned read leaves nothing behind: the next exchange gets its own answer.
    EXPECT_EQ(this->read(0x61, 0x02), (std::vector<uint8_t>{1, BoardModel::kIdentifier}));
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
}

REGISTER_TYPED_TEST_SUITE_P(ConnectionContract, ConnectAgainAndDisconnectWithTheBoard,
                            UnplugFailsTransfersUntilThePlugComesBack,
                            BoardThatRefusesItsInterfaceIsNotAccepted,
                            BoardWithAnotherProductIsIgnoredUnlessAskedFor,
                            RegisterExchangesCarryTheExactBytes,
                            GpioFrameReachesThePinsAndTheAnswerComesBack,
                            EmptyWritesOverflowsAndBadPipes,
                            ReadWithNothingToAnswerTimesOutAndKeepsTheCallersBytes);

}  // namespace i2cbridge::testing
