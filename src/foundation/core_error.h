#pragma once

// What went wrong, as the core tells its front ends. Every outcome that can fail carries one of
// these; a front end decides on the value and shows CoreErrorText (plus any detail the outcome
// carries, such as the system's reason for a file), never a caption or a text it compares.

namespace i2cbridge {

enum class CoreError {
    None = 0,
    NoBoard,          // no board attached, or the driver could not be started
    TransferFailed,   // the driver reported an error on a transfer
    NotAcknowledged,  // the device acknowledged fewer bytes than were sent
    ShortRead,        // the device read fewer bytes than were asked for
    NotSent,          // the step was never sent (more bytes than one frame carries)
    FileUnreadable,   // a file could not be read; the outcome carries the system's reason
    FileUnwritable,   // a file could not be written; the outcome carries the system's reason
    Aborted,          // the user (or a signal) stopped the operation before its end
    NotDefinitions,   // the file holds no register line: it is no register definitions file
};

// One short sentence per error, without a trailing full stop.
const char* CoreErrorText(CoreError error);

}  // namespace i2cbridge
