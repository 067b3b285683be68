#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vela::host {
class Host;
class Document;
}  // namespace vela::host

namespace vela::bridge {
class CJxVelaAssistantCommunication;
}

namespace vela::fuzz {

/// Drives the assistant's JSON request path as the page does: the module loaded into a host with one
/// drawing, each request sent to a slot of the bridge object by name, and afterwards checks what a user
/// relies on. Shared by the request fuzzer and the test that replays its corpus.
///
/// An input is one byte choosing the slot (taken modulo the number of slots) and the request text after it.
class RequestHarness {
  public:
    /// Loads the module and opens `drawing`; `error` says what failed when `ready()` is false.
    explicit RequestHarness(const std::string& drawing);
    ~RequestHarness();
    RequestHarness(const RequestHarness&) = delete;
    RequestHarness& operator=(const RequestHarness&) = delete;

    bool ready() const { return error_.empty(); }
    const std::string& error() const { return error_; }

    /// The slots an input's first byte chooses from, in that order.
    const std::vector<std::string>& slots() const { return slots_; }

    /// Sends one input and checks that the answer is one JSON object; that the drawing, saved, reads back
    /// without a repair and saves the same again; that undoing what the request did gives back the drawing
    /// as it was and redoing it the drawing as it was after. Leaves the drawing as it was before. An empty
    /// text when all of this holds, else what did not.
    std::string run(std::string_view input);

  private:
    std::string checkSaved(const std::string& saved) const;

    std::unique_ptr<host::Host> host_;
    std::unique_ptr<bridge::CJxVelaAssistantCommunication> bridge_;
    host::Document* document_ = nullptr;
    std::vector<std::string> slots_;
    std::string original_;
    std::string error_;
};

}  // namespace vela::fuzz
