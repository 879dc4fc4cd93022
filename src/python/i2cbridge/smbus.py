"""SMBus: the interface of smbus2.SMBus over the board, so that a driver written for a Linux
I2C adapter runs on the board with only its import changed.

    from i2cbridge import SMBus

    with SMBus(simulate=True) as bus:
        bus.read_byte_data(0x30, 0x02)          # 0x5a
        bus.write_word_data(0x30, 0x10, 0x1234) # low byte first, as SMBus words are
"""

from . import _i2cbridge

_NO_PEC = ("the board does not compute SMBus packet error checking (PEC); "
           "leave pec off")


class i2c_msg:
    """One message of SMBus.i2c_rdwr, made by i2c_msg.read or i2c_msg.write.

        msgs = [i2c_msg.write(0x30, [0x02]), i2c_msg.read(0x30, 1)]
        bus.i2c_rdwr(*msgs)
        bytes(msgs[1])   # b'Z'
    """

    I2C_M_RD = 0x0001

    def __init__(self, addr, flags, buf):
        self.addr = addr
        self.flags = flags
        self.buf = bytearray(buf)

    @property
    def len(self):
        return len(self.buf)

    @staticmethod
    def read(address, length):
        """A read of length bytes from the device at a 7-bit address."""
        return i2c_msg(address, i2c_msg.I2C_M_RD, bytes(length))

    @staticmethod
    def write(address, buf):
        """A write of the bytes (bytes, a list of ints or a str) to a 7-bit address."""
        if isinstance(buf, str):
            buf = buf.encode("latin-1")
        return i2c_msg(address, 0, bytes(buf))

    def __iter__(self):
        return iter(self.buf)

    def __bytes__(self):
        return bytes(self.buf)

    def __len__(self):
        return len(self.buf)

    def __repr__(self):
        kind = "read" if self.flags & self.I2C_M_RD else "write"
        return f"i2c_msg({kind}, 0x{self.addr:02X}, {bytes(self.buf)!r})"


class SMBus:
    """smbus2.SMBus's methods on the board, with the same names, parameters and defaults.

    SMBus(board) uses an open board; SMBus(simulate=True), SMBus(vid=..., pid=...),
    SMBus(board="REF-0001") (one of several, by serial number or port) or SMBus() opens one and
    closes it again on close(). The bus number of smbus2 has no meaning here: an
    int is accepted and ignored, so that SMBus(1) runs unchanged. force is accepted and
    ignored (nothing else owns the board's bus). A device that does not answer raises an
    OSError with errno EREMOTEIO (i2cbridge.NakError).

        with SMBus(simulate=True) as bus:
            bus.read_byte_data(0x30, 0x02)   # 0x5a
    """

    def __init__(self, bus=None, force=False, **board_options):
        self.fd = None
        self.funcs = 0
        self.force = force
        self._board = None
        self._own = False
        self._pec = 0
        self._board_options = board_options
        if bus is not None or board_options:
            self.open(bus)

    def open(self, bus):
        """Takes an open board, or opens one (a bus number is ignored)."""
        self.close()
        if isinstance(bus, _i2cbridge.Board):
            self._board, self._own = bus, False
        elif isinstance(bus, (int, str)) or bus is None:
            self._board, self._own = _i2cbridge.Board(**self._board_options), True
        else:
            raise TypeError("SMBus takes an i2cbridge board or a bus number, not "
                            + type(bus).__name__)
        self.fd = self._board

    def close(self):
        """Closes the board when this bus opened it."""
        if self._board is not None and self._own:
            self._board.close()
        self._board = None
        self.fd = None

    def __enter__(self):
        if self._board is None:
            self.open(None)
        return self

    def __exit__(self, exc_type, exc_val, exc_tb):
        self.close()

    def _bus(self):
        if self._board is None:
            self.open(None)
        return self._board

    @property
    def pec(self):
        return self._pec

    @pec.setter
    def pec(self, enable):
        if enable:
            raise NotImplementedError(_NO_PEC)
        self._pec = 0

    def enable_pec(self, enable=True):
        """PEC cannot be turned on: the board does not compute it."""
        self.pec = enable

    def write_quick(self, i2c_addr, force=None):
        """The address alone, with the write bit; NakError when nothing answers."""
        self._bus().write(i2c_addr, None, None)

    def read_byte(self, i2c_addr, force=None):
        """One byte read without a register."""
        return self._bus().read(i2c_addr, None, 1)[0]

    def write_byte(self, i2c_addr, value, force=None):
        """One byte written without a register."""
        self._bus().write(i2c_addr, None, [value])

    def read_byte_data(self, i2c_addr, register, force=None):
        """One byte from a register."""
        return self._bus().read(i2c_addr, register, 1)[0]

    def write_byte_data(self, i2c_addr, register, value, force=None):
        """One byte to a register."""
        self._bus().write(i2c_addr, register, [value])

    def read_word_data(self, i2c_addr, register, force=None):
        """A 16-bit word from a register, low byte first."""
        data = self._bus().read(i2c_addr, register, 2)
        return data[0] | data[1] << 8

    def write_word_data(self, i2c_addr, register, value, force=None):
        """A 16-bit word to a register, low byte first."""
        if not 0 <= value <= 0xFFFF:
            raise ValueError(f"word {value} is not from 0 to 0xFFFF")
        self._bus().write(i2c_addr, register, [value & 0xFF, value >> 8])

    def process_call(self, i2c_addr, register, value, force=None):
        """Writes a word to a register and reads a word back in one transfer."""
        if not 0 <= value <= 0xFFFF:
            raise ValueError(f"word {value} is not from 0 to 0xFFFF")
        data = self._bus().read(i2c_addr, bytes([register, value & 0xFF, value >> 8]), 2)
        return data[0] | data[1] << 8

    def read_block_data(self, i2c_addr, register, force=None):
        """Not possible: the device sends the count of an SMBus block read, and the board
        must know the count before it reads."""
        raise NotImplementedError(
            "the board cannot read an SMBus block whose count the device sends; "
            "use read_i2c_block_data with the length")

    def write_block_data(self, i2c_addr, register, data, force=None):
        """An SMBus block write: the register, the count, then up to 32 bytes."""
        data = list(data)
        if len(data) > 32:
            raise ValueError("an SMBus block holds at most 32 bytes")
        self._bus().write(i2c_addr, register, [len(data)] + data)

    def block_process_call(self, i2c_addr, register, data, force=None):
        """Not possible: its reply is a block whose count the device sends."""
        raise NotImplementedError(
            "the board cannot read an SMBus block whose count the device sends")

    def read_i2c_block_data(self, i2c_addr, register, length, force=None):
        """length bytes (1 to 32, as smbus2 allows) from a register, as a list of ints."""
        if not 0 < length <= 32:
            raise ValueError("length must be from 1 to 32")
        return list(self._bus().read(i2c_addr, register, length))

    def write_i2c_block_data(self, i2c_addr, register, data, force=None):
        """Up to 32 bytes to a register."""
        data = list(data)
        if len(data) > 32:
            raise ValueError("an I2C block holds at most 32 bytes")
        self._bus().write(i2c_addr, register, data)

    def i2c_rdwr(self, *i2c_msgs):
        """Messages as the board can send them: a write, a read, or a write and a read of the
        same device (its register, then the data after a repeated start). The read messages'
        buffers receive the data."""
        board = self._bus()
        msgs = list(i2c_msgs)
        while msgs:
            first = msgs.pop(0)
            if first.flags & i2c_msg.I2C_M_RD:
                first.buf[:] = board.read(first.addr, None, len(first.buf))
            elif msgs and msgs[0].flags & i2c_msg.I2C_M_RD and msgs[0].addr == first.addr:
                second = msgs.pop(0)
                second.buf[:] = board.read(first.addr, bytes(first.buf) or None, len(second.buf))
            else:
                board.write(first.addr, None, bytes(first.buf))
