from typing import Optional

from ._i2cbridge import Board as Board, Gpio as Gpio, NakError as NakError
from ._i2cbridge import NoBoardError as NoBoardError, Row as Row, RunResult as RunResult
from ._i2cbridge import Trace as Trace
from .smbus import SMBus as SMBus, i2c_msg as i2c_msg

def open(*, simulate: bool = False, vid: Optional[int] = None, pid: Optional[int] = None,
         log: Optional[str] = None, trace: Optional[str] = None,
         board: Optional[str] = None) -> Board: ...
