"""A driver for the register device of the simulated board (256 registers with an
auto-incrementing pointer, the identifier 0x5A in register 2), written for smbus2.

On a Linux I2C adapter it runs as it is. On the bridge board, change the import to
    from i2cbridge import SMBus, i2c_msg
and open the bus with SMBus(simulate=True), SMBus(vid=..., pid=...) or SMBus(1) for the board
on USB; nothing else changes.
"""

import errno

from smbus2 import SMBus, i2c_msg

IDENTIFIER_REGISTER = 0x02
IDENTIFIER = 0x5A


class RegisterDevice:
    def __init__(self, bus, address=0x30):
        self.bus = bus
        self.address = address

    def present(self):
        """True when the device acknowledges its address."""
        try:
            self.bus.read_byte(self.address)
            return True
        except OSError as e:
            if e.errno in (errno.EREMOTEIO, errno.ENXIO):
                return False
            raise

    def identify(self):
        return self.bus.read_byte_data(self.address, IDENTIFIER_REGISTER) == IDENTIFIER

    def set_threshold(self, value):
        """A 16-bit threshold in registers 0x10 and 0x11, low byte first."""
        self.bus.write_word_data(self.address, 0x10, value)

    def threshold(self):
        return self.bus.read_word_data(self.address, 0x10)

    def load_table(self, start, values):
        self.bus.write_i2c_block_data(self.address, start, values)

    def table(self, start, length):
        return self.bus.read_i2c_block_data(self.address, start, length)

    def read_registers(self, start, length):
        """The same read as table(), as one combined write and read."""
        write = i2c_msg.write(self.address, [start])
        read = i2c_msg.read(self.address, length)
        self.bus.i2c_rdwr(write, read)
        return list(read)


if __name__ == "__main__":
    with SMBus(1) as bus:
        device = RegisterDevice(bus)
        print("present" if device.present() else "absent", device.identify())
