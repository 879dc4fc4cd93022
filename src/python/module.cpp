// The Python module's extension, i2cbridge._i2cbridge: a board object over one Session of the
// core (the command line's own), with 7-bit addresses, Python exceptions for every failure,
// the program log into the logger "i2cbridge", and the interpreter lock released around the
// transfers. The pure-Python part of the package (i2cbridge/) adds open(), SMBus and the pytest
// plugin.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/script_run.h"
#include "app/session.h"
#include "foundation/display_text.h"
#include "gpio/frm_gpio.h"
#include "usb/simulated_board.h"
#include "workbench/bus_tools.h"

namespace py = pybind11;

namespace i2cbridge::python {

namespace {

// A script write's reply is one count byte; a full-speed bulk packet holds whatever the board
// sends back.
constexpr std::size_t kWriteReplyLength = 64;
constexpr int kMaxFrameBytes = 255;  // a frame's count byte carries register and data bytes

PyObject* gNoBoardError = nullptr;
PyObject* gNakError = nullptr;

// Raises an OSError subclass with its errno, as OSError(errno, text) sets it.
[[noreturn]] void RaiseOsError(PyObject* type, int error, const std::string& text) {
    PyErr_SetObject(type, py::make_tuple(error, text).ptr());
    throw py::error_already_set();
}

std::string Hex7(int address) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", address);
    return text;
}

uint8_t CheckAddress(int address) {
    if (address < 0 || address > 0x7F) {
        throw py::value_error("address " + std::to_string(address) +
                              " is not a 7-bit address (0 to 0x7F)");
    }
    return static_cast<uint8_t>(address << 1);
}

// Bytes from bytes, bytearray, memoryview or a sequence of ints from 0 to 255.
std::vector<uint8_t> ByteList(const py::handle& value, const char* what) {
    if (py::isinstance<py::str>(value)) {
        throw py::type_error(std::string(what) + " must be bytes or a sequence of ints, not str");
    }
    if (PyObject_CheckBuffer(value.ptr())) {
        const std::string bytes = py::bytes(py::reinterpret_borrow<py::object>(value));
        return {bytes.begin(), bytes.end()};
    }
    if (!py::isinstance<py::sequence>(value)) {
        throw py::type_error(std::string(what) + " must be bytes or a sequence of ints, not " +
                             std::string(py::str(value.get_type().attr("__name__"))));
    }
    std::vector<uint8_t> bytes;
    for (const py::handle item : value) {
        if (!py::isinstance<py::int_>(item))
            throw py::type_error(std::string(what) + " holds a non-int");
        const long v = item.cast<long>();
        if (v < 0 || v > 0xFF) {
            throw py::value_error(std::string(what) + " holds " + std::to_string(v) +
                                  ", not a byte (0 to 255)");
        }
        bytes.push_back(static_cast<uint8_t>(v));
    }
    return bytes;
}

// A register address: an int from 0 to 255 (one byte), or bytes (most significant first).
std::vector<uint8_t> RegisterBytes(const py::handle& reg) {
    if (py::isinstance<py::bool_>(reg)) throw py::type_error("register must be an int or bytes");
    if (py::isinstance<py::int_>(reg)) {
        const long v = reg.cast<long>();
        if (v < 0 || v > 0xFF) {
            throw py::value_error("register " + std::to_string(v) +
                                  " is not one byte; give a longer register address as bytes, "
                                  "such as b'\\x00\\x10'");
        }
        return {static_cast<uint8_t>(v)};
    }
    return ByteList(reg, "register");
}

}  // namespace

struct RunResult {
    int passed = 0, failed = 0, skipped = 0, passes = 0;
    double time = 0;
    bool stopped = false;
    std::vector<ScriptCase> rows;
};

class Board {
public:
    explicit Board(SessionSettings settings) : settings_(std::move(settings)) { open(); }
    ~Board() {
        py::gil_scoped_release release;
        std::lock_guard lock(mutex_);
        closeLocked();
    }

    void open() {
        std::string error, noBoard;
        {
            py::gil_scoped_release release;
            std::lock_guard lock(mutex_);
            if (session_) return;
            auto session = std::make_unique<Session>(settings_);
            if (!session->setupError().empty()) {
                error = session->setupError();
            } else if (const BoardPick pick = session->pickBoard();
                       pick.outcome == BoardPick::Several) {
                // A test must never guess which board it talks to.
                error = std::to_string(pick.boards.size()) +
                        " boards attached; choose one with board=ID (its serial number or port):";
                for (const AttachedBoard& b : pick.boards) error += "\n  " + BoardLine(b);
            } else if (!session->open()) {
                noBoard = session->noBoardText();
            } else {
                session_ = std::move(session);
                // Opened again later, the session keeps to this board.
                settings_.board = session_->wb().usb.BoardId;
                name_ = BoardName(session_->wb().usb.Board);
                hookLog();
                // The board stays open between calls, as when the user holds the connection
                // by hand: the windows' own steps (a script, the GPIO screen) use it as it is.
                session_->wb().usb.ManualUsbConnect = true;
            }
        }
        flushLog();
        if (!error.empty()) throw py::value_error(error);
        if (!noBoard.empty()) {
            RaiseOsError(gNoBoardError, ENODEV,
                         noBoard +
                             "; open(simulate=True) uses the built-in simulated board, a "
                             "board with other identifiers needs vid= and pid=, and a "
                             "board that is plugged in may need the udev rule "
                             "(60-i2cbridge.rules)");
        }
    }

    void close() {
        {
            py::gil_scoped_release release;
            std::lock_guard lock(mutex_);
            closeLocked();
        }
        flushLog();
    }

    // How the log names the board: its port and serial number.
    std::string name() {
        py::gil_scoped_release release;
        std::lock_guard lock(mutex_);
        return name_;
    }

    bool isOpen() {
        py::gil_scoped_release release;
        std::lock_guard lock(mutex_);
        return session_ != nullptr;
    }

    py::bytes read(int address, const py::object& reg, int count) {
        const uint8_t writeAddress = CheckAddress(address);
        const std::vector<uint8_t> regBytes =
            reg.is_none() ? std::vector<uint8_t>{} : RegisterBytes(reg);
        if (count < 1 || count > 255) {
            throw py::value_error("count " + std::to_string(count) + " is not from 1 to 255");
        }
        if (regBytes.size() > kMaxFrameBytes - 2)
            throw py::value_error("register too long for a frame");
        Reply reply;
        withHeld([&](Session& s) {
            reply = ReadRegisterBytes(s.wb().usb, s.wb().i2c, writeAddress, regBytes, count);
        });
        checkReply(reply.error());
        if (!ReadReplyOk(reply[0], count)) {
            RaiseOsError(gNakError, EREMOTEIO,
                         "the device at " + Hex7(address) + " read " + std::to_string(reply[0]) +
                             " of " + std::to_string(count) + " bytes");
        }
        return py::bytes(reinterpret_cast<const char*>(reply.bytes().data()) + 1,
                         static_cast<std::size_t>(count));
    }

    void write(int address, const py::object& reg, const py::object& data) {
        const uint8_t writeAddress = CheckAddress(address);
        const std::vector<uint8_t> regBytes =
            reg.is_none() ? std::vector<uint8_t>{} : RegisterBytes(reg);
        const std::vector<uint8_t> dataBytes =
            data.is_none() ? std::vector<uint8_t>{} : ByteList(data, "data");
        if (regBytes.size() + dataBytes.size() > kMaxFrameBytes) {
            throw py::value_error("register and data come to " +
                                  std::to_string(regBytes.size() + dataBytes.size()) +
                                  " bytes, more than a frame's 255");
        }
        Reply reply;
        withHeld([&](Session& s) {
            reply = I2CExchange(
                s.wb().usb,
                RegisterWriteRequest(static_cast<uint8_t>(regBytes.size() + dataBytes.size()),
                                     writeAddress, regBytes, dataBytes),
                kWriteReplyLength);
        });
        checkReply(reply.error());
        const int regCount = static_cast<int>(regBytes.size());
        const int dataCount = static_cast<int>(dataBytes.size());
        if (!WriteReplyOk(reply[0], regCount, dataCount)) {
            RaiseOsError(gNakError, EREMOTEIO,
                         "the device at " + Hex7(address) + " acknowledged " +
                             std::to_string(reply[0]) + " of " +
                             std::to_string(1 + regCount + dataCount) + " bytes");
        }
    }

    std::vector<int> scan() {
        BusScan scan;
        withHeld([&](Session& s) { scan = ScanBus(s.wb().usb, s.wb().i2c); });
        checkReply(scan.error);
        std::vector<int> found;
        for (const uint8_t a : scan.found) found.push_back(a >> 1);
        return found;
    }

    // Port B in the high byte, port C in the low byte, as the GPIO screen shows them.
    int gpio(std::optional<int> enables, std::optional<int> value) {
        for (const auto& [name, v] : {std::pair{"enables", enables}, std::pair{"value", value}}) {
            if (v && (*v < 0 || *v > 0xFFFF)) {
                throw py::value_error(std::string(name) + " " + std::to_string(*v) +
                                      " is not from 0 to 0xFFFF");
            }
        }
        GpioOutcome outcome;
        withWindows([&](Session& s) {
            auto& state = s.wb().GpioState;
            if (value) {
                state.portBData = static_cast<uint8_t>(*value >> 8);
                state.portCLedData = static_cast<uint8_t>(*value);
            }
            if (enables) {
                state.portBEnables = static_cast<uint8_t>(*enables >> 8);
                state.portCLedEnables = static_cast<uint8_t>(*enables);
            }
            outcome = s.program().gpioScreen().writeAndReadBack(enables ? GpioFrame::EnablesAndData
                                                                        : GpioFrame::DataOnly);
        });
        checkReply(outcome.error);
        return outcome.readBack.portBData << 8 | outcome.readBack.portCLedData;
    }

    RunResult runScript(const std::string& path, int loop, bool abortOnFail,
                        const std::string& recordDir) {
        if (loop < 1) throw py::value_error("loop must be 1 or more");
        ScriptRunRequest request;
        request.path = path;
        request.loop = loop;
        request.abortOnFail = abortOnFail;
        request.recordDir = recordDir;
        std::atomic<bool> stop{false};
        request.stop = &stop;
        request.stopWhy = [] { return std::string("stopped by KeyboardInterrupt"); };
        // Ctrl-C is seen between rows: the run stops after the current one, as Abort does,
        // and the interrupt is raised once the files are whole. The interpreter is asked at
        // most every 2 ms (a row on a real board takes longer), so that a fast run of the
        // built-in board does not pay for the lock at every row.
        PyObject *type = nullptr, *error = nullptr, *trace = nullptr;
        auto lastCheck = std::chrono::steady_clock::now();
        request.onRow = [&](int, int, int) {
            if (stop.load()) return;
            const auto now = std::chrono::steady_clock::now();
            if (now - lastCheck < std::chrono::milliseconds(2)) return;
            lastCheck = now;
            py::gil_scoped_acquire acquire;
            flushLogHeld();
            if (PyErr_CheckSignals() != 0) {
                PyErr_Fetch(&type, &error, &trace);
                stop.store(true);
            }
        };
        ScriptRun run;
        withWindows([&](Session& s) { run = RunScript(s, request); });
        if (type) {
            PyErr_Restore(type, error, trace);
            throw py::error_already_set();
        }
        if (!run.loaded) {
            RaiseOsError(PyExc_OSError, ENOENT, "cannot read " + path + ": " + run.loadError);
        }
        RunResult result;
        result.passed = run.suite.count(CaseStatus::Pass);
        result.failed = run.suite.count(CaseStatus::Fail);
        result.skipped = run.suite.count(CaseStatus::Skipped);
        result.passes = run.suite.passesRun;
        result.time = run.suite.seconds;
        result.stopped = run.stoppedEarly;
        result.rows = std::move(run.suite.cases);
        return result;
    }

    void startTrace(const std::string& path) {
        std::string why;
        bool started = false;
        withBoard([&](Session& s) { started = s.startTrace(path, why); });
        if (!started)
            RaiseOsError(PyExc_OSError, EIO, "cannot write the trace to " + path + ": " + why);
    }
    void stopTrace() {
        withBoard([&](Session& s) { s.stopTrace(); });
    }

    // Pulls the built-in board's plug, as a user would pull the cable, for tests.
    void unplug() {
        withBoard([&](Session& s) {
            if (s.simulated()) s.simulated()->unplug();
        });
    }

    // The built-in board's latency per transfer in microseconds (0: none), for measurements.
    void setLatency(int microseconds) {
        withBoard([&](Session& s) {
            if (s.simulated()) s.simulated()->setLatency(std::chrono::microseconds(microseconds));
        });
    }

private:
    // Runs the work on the open board with the interpreter lock released and the board's own
    // lock held: a second thread waits for the first one's call to end.
    template <typename Work>
    void withBoard(Work&& work) {
        bool closed = false;
        {
            py::gil_scoped_release release;
            std::lock_guard lock(mutex_);
            if (!session_) {
                closed = true;
            } else {
                work(*session_);
            }
        }
        flushLog();
        if (closed)
            RaiseOsError(gNoBoardError, ENODEV, "the board is closed; open() opens it again");
    }

    // Transfers of the module's own (read, write, scan) run on the held connection, taken
    // again when a window's work let it go.
    template <typename Work>
    void withHeld(Work&& work) {
        bool held = true;
        withBoard([&](Session& s) {
            if (!s.wb().usb.ManualUsbConnect) {
                held = s.open();
                s.wb().usb.ManualUsbConnect = held;
            }
            if (held) work(s);
        });
        if (!held) checkReply(CoreError::NoBoard);
    }

    // Work of the windows (a script run, the GPIO screen), which open and close the board
    // themselves as the command line's do: the held connection is let go for it, and taken
    // again by the next transfer of the module's own.
    template <typename Work>
    void withWindows(Work&& work) {
        withBoard([&](Session& s) {
            if (s.wb().usb.ManualUsbConnect) {
                s.wb().usb.ManualUsbConnect = false;
                s.close();
            }
            work(s);
        });
    }

    // A transfer that did not reach the board: the board went away (or its driver failed).
    // The session is closed; open() opens it again once the board is back.
    void checkReply(CoreError error) {
        if (error == CoreError::None) return;
        {
            py::gil_scoped_release release;
            std::lock_guard lock(mutex_);
            closeLocked();
        }
        flushLog();
        RaiseOsError(gNoBoardError, ENODEV,
                     std::string("the board did not answer (") + CoreErrorText(error) +
                         "); open() opens it again");
    }

    void closeLocked() {
        if (!session_) return;
        if (session_->wb().usb.ManualUsbConnect) {
            session_->wb().usb.ManualUsbConnect = false;
            session_->close();
        }
        session_.reset();
    }

    // The log's entries wait here while the interpreter lock is released, and go to the
    // logger when it is held again: messages at DEBUG, failures at WARNING.
    void hookLog() {
        ProgramLog& log = session_->wb().log;
        log.onEntry = [this](std::string_view text) {
            if (text.empty()) return;
            std::lock_guard lock(logMutex_);
            pending_.push_back({DisplayText(text), false});
        };
        log.onError = [this](std::string_view text) {
            std::lock_guard lock(logMutex_);
            const std::string shown = DisplayText(text);
            if (!pending_.empty() && pending_.back().first == shown) {
                pending_.back().second = true;
            } else {
                pending_.push_back({shown, true});
            }
        };
    }
    void flushLog() { flushLogHeld(); }
    void flushLogHeld() {
        std::vector<std::pair<std::string, bool>> entries;
        {
            std::lock_guard lock(logMutex_);
            if (pending_.empty()) return;
            entries.swap(pending_);
        }
        static py::object* logger =
            new py::object(py::module_::import("logging").attr("getLogger")("i2cbridge"));
        for (const auto& [text, failure] : entries) {
            std::string line;
            for (const char c : text) {
                if (c != '\r') line += c;
            }
            while (!line.empty() && line.back() == '\n') line.pop_back();
            if (line.empty()) continue;
            logger->attr(failure ? "warning" : "debug")("%s", line);
        }
    }

    SessionSettings settings_;
    std::string name_;  // the board opened last
    std::mutex mutex_;
    std::unique_ptr<Session> session_;
    std::mutex logMutex_;
    std::vector<std::pair<std::string, bool>> pending_;
};

}  // namespace i2cbridge::python

namespace i2cbridge::python {
namespace {

// board.gpio: the GPIO screen's two ports.
struct Gpio {
    Board* board;
};

// with board.trace(path): the transfers of the block into a file.
struct Trace {
    Board* board;
    std::string path;
};

}  // namespace
}  // namespace i2cbridge::python

using namespace i2cbridge;
using namespace i2cbridge::python;

PYBIND11_MODULE(_i2cbridge, m) {
    m.doc() = "The extension of the i2cbridge package; use the package itself (help(i2cbridge)).";

    gNoBoardError = PyErr_NewExceptionWithDoc(
        "i2cbridge.NoBoardError",
        "No board could be opened, or the board went away during a call (errno ENODEV).\n\n"
        "    try:\n        board = i2cbridge.open()\n"
        "    except i2cbridge.NoBoardError as e:\n        print(e.strerror)",
        PyExc_OSError, nullptr);
    gNakError = PyErr_NewExceptionWithDoc(
        "i2cbridge.NakError",
        "A device did not acknowledge (errno EREMOTEIO), as Linux's smbus modules report it.\n\n"
        "    try:\n        board.read(0x31, 0)\n"
        "    except OSError as e:\n        assert e.errno == errno.EREMOTEIO",
        PyExc_OSError, nullptr);
    m.add_object("NoBoardError", py::handle(gNoBoardError));
    m.add_object("NakError", py::handle(gNakError));

    py::class_<ScriptCase>(
        m, "Row",
        "One row of a script run that compared, failed or did not run; "
        "str(row) is the line the command line prints for it.\n\n"
        "    for row in result.rows:\n        print(row)   # 009 60 12 FF FF PASS")
        .def_readonly("pass_", &ScriptCase::pass,
                      "The pass: '1', or '4 to 100' for passes not run.")
        .def_property_readonly("line", [](const ScriptCase& c) { return DisplayText(c.line); })
        .def_property_readonly(
            "address", [](const ScriptCase& c) { return DisplayText(c.address); },
            "The script's own 8-bit write address, as text ('60').")
        .def_property_readonly("register", [](const ScriptCase& c) { return DisplayText(c.reg); })
        .def_property_readonly("expected",
                               [](const ScriptCase& c) { return DisplayText(c.expected); })
        .def_property_readonly("actual", [](const ScriptCase& c) { return DisplayText(c.actual); })
        .def_property_readonly(
            "status", [](const ScriptCase& c) { return CaseStatusText(c.status); },
            "'PASS', 'FAIL' or 'SKIP'.")
        .def_readonly("why", &ScriptCase::why)
        .def_readonly("time", &ScriptCase::seconds, "Seconds since the row before it.")
        .def("__str__", [](const ScriptCase& c) { return DisplayText(CaseLine(c)); })
        .def("__repr__",
             [](const ScriptCase& c) { return "<Row " + DisplayText(CaseLine(c)) + ">"; });

    py::class_<RunResult>(m, "RunResult",
                          "What Board.run_script returns.\n\n"
                          "    result = board.run_script('register_test.txt')\n"
                          "    assert result.failed == 0 and result.skipped == 0")
        .def_readonly("passed", &RunResult::passed)
        .def_readonly("failed", &RunResult::failed)
        .def_readonly("skipped", &RunResult::skipped)
        .def_readonly("passes", &RunResult::passes, "Passes run (the last one possibly cut off).")
        .def_readonly("time", &RunResult::time, "Seconds the run took.")
        .def_readonly("stopped", &RunResult::stopped, "True when a pass was cut off or not run.")
        .def_readonly("rows", &RunResult::rows)
        .def_property_readonly(
            "ok", [](const RunResult& r) { return r.failed == 0 && r.skipped == 0 && !r.stopped; },
            "Every row ran and every compare passed.")
        .def("__repr__", [](const RunResult& r) {
            return "<RunResult " + std::to_string(r.passed) + " passed, " +
                   std::to_string(r.failed) + " failed, " + std::to_string(r.skipped) + " skipped>";
        });

    py::class_<Gpio>(m, "Gpio",
                     "The board's GPIO ports: port B in the high byte, port C in the low.")
        .def(
            "write",
            [](Gpio& g, std::optional<int> enables, int value) {
                return g.board->gpio(enables, value);
            },
            py::kw_only(), py::arg("enables") = py::none(), py::arg("value"),
            "Writes the ports' data (and their output enables, when given) and returns what "
            "the board reads back.\n\n"
            "    board.gpio.write(enables=0xFFFF, value=0x5AA5)   # 0x5aa5")
        .def(
            "read", [](Gpio& g) { return g.board->gpio(std::nullopt, std::nullopt); },
            "Writes the last data again and returns the levels the board reads back.\n\n"
            "    board.gpio.read()   # 0x5aa5");

    py::class_<Trace>(m, "Trace", "A transfer trace that lasts a with block.")
        .def("__enter__",
             [](Trace& t) {
                 t.board->startTrace(t.path);
                 return t;
             })
        .def("__exit__", [](Trace& t, py::args) {
            t.board->stopTrace();
            return false;
        });

    py::class_<Board>(m, "Board", R"doc(A board opened by i2cbridge.open(); addresses are 7-bit.

    with i2cbridge.open(simulate=True) as board:
        board.read(0x30, 0x02)   # b'Z'

One thread at a time: a second thread calling in while a call runs waits for it.)doc")
        .def(py::init([](bool simulate, std::optional<int> vid, std::optional<int> pid,
                         std::optional<std::string> log, std::optional<std::string> trace,
                         std::optional<std::string> board) {
                 SessionSettings s;
                 s.simulate = simulate;
                 s.board = board.value_or("");
                 for (const auto& [name, id, out] :
                      {std::tuple{"vid", vid, &s.vendorId}, std::tuple{"pid", pid, &s.productId}}) {
                     if (!id) continue;
                     if (*id < 0 || *id > 0xFFFF)
                         throw py::value_error(std::string(name) + " must be from 0 to 0xFFFF");
                     *out = static_cast<uint16_t>(*id);
                 }
                 s.logFile = log.value_or("");
                 s.traceFile = trace.value_or("");
                 return std::make_unique<Board>(std::move(s));
             }),
             py::kw_only(), py::arg("simulate") = false, py::arg("vid") = py::none(),
             py::arg("pid") = py::none(), py::arg("log") = py::none(),
             py::arg("trace") = py::none(), py::arg("board") = py::none())
        .def("open", &Board::open, "Opens the board again after close() or after it went away.")
        .def("close", &Board::close, "Closes the board; open() opens it again.")
        .def_property_readonly("is_open", &Board::isOpen)
        .def_property_readonly("name", &Board::name,
                               "The board's port and serial number: '1-2.3 (serial A17)'.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__",
             [](Board& b, py::args) {
                 b.close();
                 return false;
             })
        .def("read", &Board::read, py::arg("address"), py::arg("register"), py::arg("count") = 1,
             R"doc(Reads count bytes (1 to 255) from a register of the device at a 7-bit address.

The register is an int (one byte), bytes (a longer register address, most significant first)
or None (a read without register bytes). A device that does not answer raises NakError.

    board.read(0x30, 0x02)              # b'Z'
    board.read(0x50, b'\x00\x10', 2)    # two-byte register address, two bytes)doc")
        .def("write", &Board::write, py::arg("address"), py::arg("register"),
             py::arg("data") = py::none(),
             R"doc(Writes the data bytes to a register of the device at a 7-bit address.

Register and data together are at most 255 bytes. A byte not acknowledged raises NakError.

    board.write(0x30, 0x10, b'\x55'))doc")
        .def("scan", &Board::scan,
             "The 7-bit addresses that answer a one-byte read, in order.\n\n"
             "    board.scan()   # [0x20, 0x30, 0x50]")
        .def_property_readonly(
            "gpio", [](Board& b) { return Gpio{&b}; }, py::keep_alive<0, 1>(),
            "The GPIO ports (see Gpio).")
        .def("run_script", &Board::runScript, py::arg("path"), py::arg("loop") = 1,
             py::arg("abort_on_fail") = false, py::arg("record_dir") = "",
             R"doc(Runs a script's main part loop times, as Run All Steps and Loop Cont do.

The script keeps its own 8-bit addresses. Ctrl-C stops the run after the current row, as
Abort does, and raises KeyboardInterrupt with the records whole.

    result = board.run_script('examples/register_test.txt', loop=1)
    result.passed, result.failed, result.skipped, result.rows)doc")
        .def(
            "trace",
            [](Board& b, std::string path) {
                return Trace{&b, std::move(path)};
            },
            py::arg("path"), py::keep_alive<0, 1>(),
            "Traces the transfers of a with block into a file: text, or usbmon capture for a "
            "name ending in .pcap.\n\n"
            "    with board.trace('bringup.pcap'):\n        board.scan()")
        .def("_set_latency", &Board::setLatency, py::arg("microseconds"))
        .def("_unplug", &Board::unplug);
}
