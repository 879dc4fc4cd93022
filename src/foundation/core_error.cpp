#include "foundation/core_error.h"

namespace i2cbridge {

const char* CoreErrorText(CoreError error) {
    switch (error) {
        case CoreError::None:
            return "done";
        case CoreError::NoBoard:
            return "no board could be opened";
        case CoreError::TransferFailed:
            return "the transfer failed";
        case CoreError::NotAcknowledged:
            return "the device did not acknowledge every byte";
        case CoreError::ShortRead:
            return "the device did not return every byte asked for";
        case CoreError::NotSent:
            return "not sent: more than 255 bytes for one frame";
        case CoreError::FileUnreadable:
            return "the file could not be read";
        case CoreError::FileUnwritable:
            return "the file could not be written";
        case CoreError::Aborted:
            return "aborted";
        case CoreError::NotDefinitions:
            return "not a register definitions file";
    }
    return "unknown error";
}

}  // namespace i2cbridge
