#pragma once

#include <QString>

namespace vela::host {

/// Where the host's command-line log goes (a terminal, a log panel, standard error).
class MessageSink {
public:
    virtual ~MessageSink() = default;
    /// Writes one message; a message may span several lines.
    virtual void writeMessage(const QString& text) = 0;
};

}  // namespace vela::host
