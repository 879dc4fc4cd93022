"""A pytest plugin for the board: a `board` fixture and the options that choose the board.

    pytest -p i2cbridge.pytest_plugin --i2cbridge-simulate tests/
    pytest -p i2cbridge.pytest_plugin --i2cbridge-vid 0547 --i2cbridge-pid 2005 --junitxml=r.xml

    def test_identifier(board):
        assert board.read(0x30, 0x02) == b'Z'

The board is opened once per session and shared by its tests; without a board the tests that
use it fail with NoBoardError's message.
"""

import pytest

import i2cbridge


def _usb_id(text):
    value = int(text, 16)
    if not 0 <= value <= 0xFFFF:
        raise ValueError(text)
    return value


def pytest_addoption(parser):
    group = parser.getgroup("i2cbridge", "the i2cbridge board")
    group.addoption("--i2cbridge-simulate", action="store_true",
                    help="use the built-in simulated board instead of the one on USB")
    group.addoption("--i2cbridge-vid", type=_usb_id, metavar="ID",
                    help="the board's USB vendor identifier, hexadecimal")
    group.addoption("--i2cbridge-pid", type=_usb_id, metavar="ID",
                    help="the board's USB product identifier, hexadecimal")


@pytest.fixture(scope="session")
def board(request):
    """The board the options chose, open for the whole test session."""
    config = request.config
    with i2cbridge.open(simulate=config.getoption("i2cbridge_simulate"),
                        vid=config.getoption("i2cbridge_vid"),
                        pid=config.getoption("i2cbridge_pid")) as opened:
        yield opened
