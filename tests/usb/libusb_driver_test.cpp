// The libusb driver's own logic, without a device: matching, descriptors, status names, calls
// before the library starts, and the hot-plug queue between libusb's thread and the program's.

#include "usb/libusb_driver.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

#include "usb/hotplug_queue.h"

namespace i2cbridge {
namespace {

// The board's descriptors as libusb parses them: vendor class, one interface with the five
// bulk endpoints.
struct BoardDescriptors {
    BoardDescriptors() {
        const std::array<uint8_t, 5> addresses{0x01, 0x81, 0x02, 0x82, 0x04};
        for (std::size_t i = 0; i < addresses.size(); ++i) {
            endpoints[i].bEndpointAddress = addresses[i];
            endpoints[i].bmAttributes = LIBUSB_TRANSFER_TYPE_BULK;
            endpoints[i].wMaxPacketSize = 512;
        }
        // Number, setting, endpoint count, class, subclass, protocol; a second setting
        // without endpoints, of another class.
        alternates[0] = {0, 0, 0, 0, 5, 0xFF, 0x01, 0x02, 0, endpoints.data(), nullptr, 0};
        alternates[1] = {0, 0, 0, 1, 0, 0x0A, 0x01, 0x02, 0, nullptr, nullptr, 0};
    }

    // Version, class, subclass, protocol, packet size, ids, release, strings, configurations.
    // clang-format off
    libusb_device_descriptor device{18, LIBUSB_DT_DEVICE, 0x0200, 0xFF, 0xFF, 0xFF, 64,
                                    BoardVendorId, BoardProductId, 0x0123, 1, 2, 3, 1};
    // clang-format on
    std::array<libusb_endpoint_descriptor, 5> endpoints{};
    std::array<libusb_interface_descriptor, 2> alternates{};
    libusb_interface interface { alternates.data(), 2 };
    libusb_config_descriptor config{0, 0, 0, 1, 1, 0, 0, 0, &interface, nullptr, 0};
};

// Zero fields of the entry match anything; interface fields must all hold in one alternate
// setting (the 0x0A entries match the second one); without a configuration only the device
// fields can match.
TEST(MatchesEntry, EveryFieldCountsOnlyWhenGiven) {
    constexpr uint16_t kV = BoardVendorId, kP = BoardProductId;
    // Vendor, product, device class and subclass, interface class, subclass and protocol.
    const MatchEntry matching[] = {{kV, kP},
                                   {0, kP},
                                   {kV, 0},
                                   {kV, kP, 0xFF, 0xFF},
                                   {kV, kP, 0, 0, 0x0A},
                                   {kV, kP, 0, 0, 0x0A, 0, 0x02},
                                   {kV, kP, 0, 0, 0xFF, 0x01}};
    const MatchEntry refused[] = {{kV, 0x2006},
                                  {0x0548, kP},
                                  {kV, kP, 0x02},
                                  {kV, kP, 0, 0x02},
                                  {kV, kP, 0, 0, 0x0A, 0, 0x03},
                                  {kV, kP, 0, 0, 0xFF, 0x07}};
    BoardDescriptors d;
    for (const MatchEntry& e : matching)
        EXPECT_TRUE(MatchesEntry(d.device, &d.config, e)) << "matching " << &e - matching;
    for (const MatchEntry& e : refused)
        EXPECT_FALSE(MatchesEntry(d.device, &d.config, e)) << "refused " << &e - refused;
    EXPECT_TRUE(MatchesEntry(d.device, nullptr, {kV, kP}));
    EXPECT_FALSE(MatchesEntry(d.device, nullptr, {kV, kP, 0, 0, 0xFF}));
}

// The device descriptor's bytes in bus order, and every interface, setting and endpoint.
TEST(DeviceInfoFromDescriptors, CopiesDescriptorBytesInterfacesAndEndpoints) {
    BoardDescriptors d;
    const UsbDeviceInfo info = DeviceInfoFromDescriptors(d.device, &d.config);
    const std::array<uint8_t, 18> expected{18,   1,    0x00, 0x02, 0xFF, 0xFF, 0xFF, 64, 0x47,
                                           0x05, 0x05, 0x20, 0x23, 0x01, 1,    2,    3,  1};
    EXPECT_EQ(info.deviceDescriptor, expected);
    ASSERT_EQ(info.interfaces.size(), 1u);
    const InterfaceInfo& iface = info.interfaces[0];
    ASSERT_EQ(iface.alternates.size(), 2u);
    EXPECT_EQ(iface.alternates[1].alternateSetting, 1);
    EXPECT_TRUE(iface.alternates[1].endpoints.empty());
    const auto& endpoints = iface.alternates[0].endpoints;
    ASSERT_EQ(endpoints.size(), 5u);
    EXPECT_EQ(endpoints[3].address, 0x82);

    const UsbDeviceInfo bare = DeviceInfoFromDescriptors(d.device, nullptr);
    EXPECT_TRUE(bare.interfaces.empty());
    EXPECT_EQ(bare.activeEndpointCount(), -1);
}

// The simulated board names statuses with the program's own table: it must agree with libusb.
TEST(LibusbStatusText, IsLibusbsNameForEveryCode) {
    LibusbDriver driver;
    for (int32_t status = -130; status <= 130; ++status)
        EXPECT_EQ(driver.statusText(status), usb_status::Name(status)) << status;
    for (int32_t far : {INT32_MIN, -0x10000, 0x10000, INT32_MAX})
        EXPECT_EQ(driver.statusText(far), usb_status::Name(far)) << far;
}

// The permission notice is shown end to end; any other refusal gives its code.
TEST(OpenFailureNotice, OtherErrorsGiveTheirCode) {
    EXPECT_EQ(OpenFailureNotice(LIBUSB_ERROR_BUSY),
              "Board found but cannot be opened: error &HFFFFFFFA (LIBUSB_ERROR_BUSY)");
}

// Without a started library every call about a device fails as for a board that is gone, and
// nothing is ever announced.
TEST(LibusbDriverUnstarted, DeviceCallsFailWithNoDevice) {
    LibusbDriver driver;
    UsbDeviceInfo info;
    EXPECT_EQ(driver.getDeviceInfo(1, info), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(driver.setInterface(1, 0, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(driver.resetDevice(1, 0), LIBUSB_ERROR_NO_DEVICE);
    std::array<uint8_t, 4> buffer{};
    uint32_t done = 77;
    EXPECT_EQ(driver.transfer(1, 0x82, true, 0, buffer.data(), 4, done, 1000),
              LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(done, 0u) << "the count of a failed transfer is 0";
    driver.deliverEvents();
    driver.uninit(1);
}

using Queue = HotplugQueue<int>;

std::vector<std::pair<bool, int>> Events(const std::vector<Queue::Event>& events) {
    std::vector<std::pair<bool, int>> out;
    for (const auto& e : events) out.emplace_back(e.arrived, e.device);
    return out;
}

// A departure is pending only while it waits in the queue: once taken, the detach handler
// has it.
TEST(HotplugQueue, HoldsEventsInOrderUntilTaken) {
    Queue queue;
    queue.push(true, 7);
    EXPECT_FALSE(queue.departurePending(7)) << "an arrival is not a departure";
    queue.push(false, 7);
    queue.push(true, 8);
    EXPECT_TRUE(queue.departurePending(7));
    EXPECT_FALSE(queue.departurePending(8));
    EXPECT_EQ(Events(queue.takeAll()),
              (std::vector<std::pair<bool, int>>{{true, 7}, {false, 7}, {true, 8}}));
    EXPECT_FALSE(queue.hasPending());
    EXPECT_FALSE(queue.departurePending(7));
}

TEST(HotplugQueue, AnArrivalIsShortLivedOnlyIfTheSameDeviceLeavesAfterIt) {
    const std::vector<Queue::Event> events{{true, 1},  {true, 2}, {false, 1},
                                           {false, 3}, {true, 3}, {true, 1}};
    EXPECT_TRUE(Queue::leavesLater(events, 0));
    EXPECT_FALSE(Queue::leavesLater(events, 1)) << "another device left";
    EXPECT_FALSE(Queue::leavesLater(events, 2)) << "a departure is not an arrival";
    EXPECT_FALSE(Queue::leavesLater(events, 4)) << "3 left before it arrived";
    EXPECT_FALSE(Queue::leavesLater(events, 5)) << "nothing after the last";
    EXPECT_FALSE(Queue::leavesLater(events, 6)) << "past the end";
}

// The event thread pushes while the user-interface thread keeps taking: nothing is lost,
// doubled or reordered.
TEST(HotplugQueue, ConcurrentPushAndTakeLoseNothing) {
    Queue queue;
    constexpr int kEvents = 20000;
    std::thread producer([&] {
        for (int i = 0; i < kEvents; ++i) queue.push(i % 2 == 0, i);
    });
    std::vector<std::pair<bool, int>> seen, want;
    while (static_cast<int>(seen.size()) < kEvents)
        for (const auto& e : Events(queue.takeAll())) seen.push_back(e);
    producer.join();
    for (int i = 0; i < kEvents; ++i) want.emplace_back(i % 2 == 0, i);
    EXPECT_EQ(seen, want);
}

}  // namespace
}  // namespace i2cbridge
