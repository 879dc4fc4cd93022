"""The i2cbridge USB-to-I2C bridge board from Python.

Addresses are 7-bit here, as in every Python I2C library: the device the tool and its scripts
call 60 (its 8-bit write address) is 0x30. A script run by run_script keeps its own 8-bit
addresses.

    import i2cbridge

    with i2cbridge.open(simulate=True) as board:     # or open(vid=0x0547, pid=0x2005)
        board.read(0x30, 0x02)                       # b'Z'
        board.read(0x50, b'\\x00\\x10', 2)             # two-byte register address, two bytes
        board.write(0x30, 0x10, b'\\x55')
        board.scan()                                 # [0x20, 0x30, 0x50]
        board.gpio.write(enables=0xFFFF, value=0x5AA5); board.gpio.read()
        result = board.run_script('examples/register_test.txt', loop=1)
        result.passed, result.failed, result.skipped, result.rows
        with board.trace('bringup.pcap'):
            board.scan()

Failures are exceptions: NoBoardError when no board opens or it goes away, NakError (an
OSError with errno EREMOTEIO, as Linux's smbus modules raise) when a device does not answer,
ValueError and TypeError for bad arguments. The program log goes to the logger "i2cbridge":
its messages at DEBUG, its failures at WARNING.

Drivers written for smbus2 run on the board with SMBus (see i2cbridge.SMBus), and pytest gets
a board fixture from the plugin: pytest -p i2cbridge.pytest_plugin --i2cbridge-simulate.
"""

from ._i2cbridge import Board, Gpio, NakError, NoBoardError, Row, RunResult, Trace
from .smbus import SMBus, i2c_msg

__all__ = ["open", "Board", "Gpio", "NakError", "NoBoardError", "Row", "RunResult", "Trace",
           "SMBus", "i2c_msg"]


def open(*, simulate=False, vid=None, pid=None, log=None, trace=None, board=None):
    """Opens the board and returns it; NoBoardError when none can be opened.

    simulate=True uses the built-in simulated board; vid and pid match a board with other
    USB identifiers; log and trace name files for the program log and the transfers (text,
    or usbmon capture for a name ending in .pcap). board names one of several boards by its
    serial number or USB port path ("1-2.3", as i2cbridge-cli list shows them); with several
    attached and none named, open raises ValueError with the list. With simulate=True, board
    becomes the built-in board's serial number (or port).

        with i2cbridge.open(simulate=True) as board:
            board.read(0x30, 0x02)   # b'Z'
        reference = i2cbridge.open(board="REF-0001")
        target = i2cbridge.open(board="1-4")
    """
    return Board(simulate=simulate, vid=vid, pid=pid, log=log, trace=trace, board=board)
