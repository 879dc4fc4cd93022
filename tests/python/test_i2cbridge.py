import errno, inspect, os, signal, subprocess, sys, time

import pytest
from concurrent.futures import ThreadPoolExecutor
import smbus2

import i2cbridge
from i2cbridge import SMBus, i2c_msg

SOURCE = os.environ.get("I2CB_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
EXAMPLES = os.path.join(SOURCE, "examples")
ENV = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))


@pytest.fixture
def board():
    with i2cbridge.open(simulate=True) as opened:
        yield opened


@pytest.mark.parametrize("ours, theirs", [
    *[(getattr(SMBus, n), getattr(smbus2.SMBus, n)) for n in (
        "__init__", "open", "close", "__enter__", "__exit__", "enable_pec", "write_quick",
        "read_byte", "write_byte", "read_byte_data", "write_byte_data", "read_word_data",
        "write_word_data", "process_call", "read_block_data", "write_block_data",
        "block_process_call", "read_i2c_block_data", "write_i2c_block_data", "i2c_rdwr")],
    (i2c_msg.read, smbus2.i2c_msg.read), (i2c_msg.write, smbus2.i2c_msg.write)])
def test_smbus2_signatures(ours, theirs):
    mine = list(inspect.signature(ours).parameters.values())
    want = list(inspect.signature(theirs).parameters.values())
    assert [(p.name, p.default, p.kind) for p in mine[:len(want)]] == \
        [(p.name, p.default, p.kind) for p in want]
    assert all(p.kind == p.VAR_KEYWORD for p in mine[len(want):])


@pytest.mark.parametrize("call, error", [
    (lambda b: b.read(0x80, 0), ValueError), (lambda b: b.read(-1, 0), ValueError),
    (lambda b: b.read(0x30, 0, 0), ValueError), (lambda b: b.read(0x30, 0, 256), ValueError),
    (lambda b: b.read(0x30, 0x100), ValueError), (lambda b: b.write(0x30, 0, bytes(255)), ValueError),
    (lambda b: b.write(0x30, 0, [256]), ValueError), (lambda b: b.read(0x30, "02"), TypeError),
    (lambda b: b.write(0x30, 0, "U"), TypeError), (lambda b: b.gpio.write(value=0x10000), ValueError),
    (lambda b: SMBus(b).read_block_data(0x30, 0), NotImplementedError),
    (lambda b: SMBus(b).enable_pec(), NotImplementedError),
    (lambda b: b.run_script(os.path.join(EXAMPLES, "missing.txt")), OSError)])
def test_bad_arguments_raise(board, call, error):
    with pytest.raises(error):
        call(board)
    assert board.read(0x30, 0x02) == b"Z"  # the board is still usable


@pytest.mark.parametrize("call", [lambda b: b.read(0x31, 0), lambda b: b.write(0x31, 0, b"\1"),
                                  lambda b: SMBus(b).write_quick(0x31)])
def test_absent_device_raises_remote_io_error(board, call, caplog):
    with pytest.raises(i2cbridge.NakError) as caught:
        call(board)
    assert isinstance(caught.value, OSError) and caught.value.errno == errno.EREMOTEIO


def test_no_board_and_closed_board(board):
    with pytest.raises(i2cbridge.NoBoardError):
        i2cbridge.open(vid=0x1234, pid=0x0001)
    board.close()
    with pytest.raises(i2cbridge.NoBoardError):
        board.scan()
    board.open()
    assert board.scan() == [0x20, 0x30, 0x50]
    board._unplug()  # the cable pulled between two calls
    with pytest.raises(i2cbridge.NoBoardError):
        board.read(0x30, 0x02)
    board.open()
    assert board.read(0x30, 0x02) == b"Z"


def test_two_boards_side_by_side():
    # A reference and a target, each with its own serial number; SMBus names its board too.
    with i2cbridge.open(simulate=True, board="REF-0001") as ref, \
            SMBus(simulate=True, board="1-4") as target:
        assert (ref.name, target.fd.name) == ("1-1 (serial REF-0001)", "1-4 (no serial)")
        for i in range(4):
            ref.write(0x30, 0x10, bytes([i]))
            target.write_byte_data(0x30, 0x10, 0x80 | i)
            assert ref.read(0x30, 0x10) == bytes([i])
            assert target.read_byte_data(0x30, 0x10) == 0x80 | i


def test_transfers_and_gpio(board, tmp_path):
    with board.trace(str(tmp_path / "t.txt")):
        board.write(0x50, b"\x00\x10", b"\xa5\x5a")
        assert board.read(0x50, b"\x00\x10", 2) == b"\xa5\x5a"
    assert (tmp_path / "t.txt").read_text().count("\n") >= 4
    with SMBus(board) as bus:
        bus.write_word_data(0x30, 0x10, 0x1234)
        assert board.read(0x30, 0x10, 2) == b"\x34\x12" and bus.read_word_data(0x30, 0x10) == 0x1234
        bus.write_byte(0x30, 0x20)
        assert bus.read_byte(0x30) == 0
    assert board.gpio.write(enables=0xFFFF, value=0x5AA5) == 0x5AA5 and board.gpio.read() == 0x5AA5


def test_example_driver_runs_with_its_import_changed(board):
    path = os.path.join(EXAMPLES, "python", "register_device.py")
    source = open(path).read()
    assert "from smbus2 import SMBus, i2c_msg" in source
    module = {"__name__": "register_device"}
    exec(compile(source.replace("from smbus2 import", "from i2cbridge import"), path, "exec"), module)
    with SMBus(simulate=True) as bus:
        device = module["RegisterDevice"](bus)
        assert device.present() and device.identify()
        device.set_threshold(0xBEEF)
        assert device.threshold() == 0xBEEF
        device.load_table(0x40, [1, 2, 3, 4])
        assert device.table(0x40, 4) == device.read_registers(0x40, 4) == [1, 2, 3, 4]
        assert not module["RegisterDevice"](bus, 0x31).present()


def test_script_run_rows_and_log(board, caplog):
    caplog.set_level("DEBUG", logger="i2cbridge")
    result = board.run_script(os.path.join(EXAMPLES, "register_test.txt"), loop=2)
    assert (result.passed, result.failed, result.skipped, result.passes) == (10, 0, 0, 2)
    assert result.ok and str(result.rows[-1]) == "010 60 10 A55A A55A PASS"
    assert any(r.levelname == "DEBUG" for r in caplog.records)


def test_a_second_thread_waits_for_the_first(board):
    board._set_latency(500)  # transfers that last, so that the threads' calls overlap
    def hammer(i):
        for _ in range(30):
            board.write(0x30, 0x20 + i, bytes([i]))
            assert board.read(0x30, 0x20 + i) == bytes([i])
    with ThreadPoolExecutor(3) as pool:
        list(pool.map(hammer, range(3)))  # a thread's failure is raised here


def test_ctrl_c_stops_a_run_after_its_row(tmp_path):
    script = tmp_path / "reads.txt"
    script.write_text("02,,5A\r\n" * 50)
    code = (f"import i2cbridge\nb = i2cbridge.open(simulate=True, trace={str(tmp_path / 't.txt')!r})\n"
            f"b._set_latency(2000)\nprint('go', flush=True)\nb.run_script({str(script)!r}, loop=1000)")
    child = subprocess.Popen([sys.executable, "-c", code], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True, env=ENV)
    assert child.stdout.readline() == "go\n"
    time.sleep(0.5)
    child.send_signal(signal.SIGINT)
    _, err = child.communicate(timeout=20)
    # Python ends on an uncaught KeyboardInterrupt by SIGINT, as a shell expects.
    assert child.returncode == -signal.SIGINT and err.rstrip().endswith("KeyboardInterrupt")
    assert (tmp_path / "t.txt").read_text().endswith("\n")


def test_pytest_plugin_runs_the_bringup_file(tmp_path):
    done = subprocess.run([sys.executable, "-m", "pytest", "-q", "-p", "i2cbridge.pytest_plugin",
                           "-p", "no:cacheprovider", "--i2cbridge-simulate",
                           f"--junitxml={tmp_path / 'r.xml'}",
                           os.path.join(EXAMPLES, "python", "test_bringup.py")],
                          capture_output=True, text=True, env=ENV, cwd=tmp_path)
    assert done.returncode == 0, done.stdout
    assert 'tests="8"' in (tmp_path / "r.xml").read_text()
