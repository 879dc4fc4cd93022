"""Bring-up tests for a board: copy this file next to your own tests and run
    pytest -p i2cbridge.pytest_plugin --i2cbridge-simulate test_bringup.py --junitxml=bringup.xml
(drop --i2cbridge-simulate for the board on USB; --i2cbridge-vid/--i2cbridge-pid pick another).
The `board` fixture is the plugin's; addresses are 7-bit.
"""

import errno
import os

import pytest

import i2cbridge

EXAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")


def test_the_expected_devices_answer(board):
    assert board.scan() == [0x20, 0x30, 0x50]


def test_identifier(board):
    assert board.read(0x30, 0x02) == b"\x5a"


@pytest.mark.parametrize("value", [b"\x00", b"\x55", b"\xaa", b"\xff"])
def test_register_holds_what_was_written(board, value):
    board.write(0x30, 0x10, value)
    assert board.read(0x30, 0x10) == value


def test_absent_device_does_not_answer(board):
    with pytest.raises(i2cbridge.NakError) as caught:
        board.read(0x31, 0x00)
    assert caught.value.errno == errno.EREMOTEIO


def test_register_script_passes(board):
    result = board.run_script(os.path.join(EXAMPLES, "register_test.txt"))
    assert result.ok, [str(row) for row in result.rows if row.status != "PASS"]
