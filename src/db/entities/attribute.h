#pragma once

#include <string>

#include "db/entities/text.h"

namespace vela::db {

/// The flags of an attribute or attribute definition (group 70).
struct AttributeFlags {
    static constexpr std::int16_t kInvisible = 1, kConstant = 2, kVerify = 4, kPreset = 8;
};

/// A tagged value that a block reference carries (ATTRIB): a single line of text owned by the reference,
/// written after it in files, and moved, copied and erased with it.
class Attribute : public Text {
    VELA_DB_DECLARE_CLASS(Attribute)
  public:
    Attribute() = default;

    const std::string& tag() const { return tag_; }
    void setTag(std::string_view tag) { assertWriteEnabled(), tag_ = std::string(tag); }
    std::int16_t flags() const { return flags_; }
    void setFlags(std::int16_t flags) { assertWriteEnabled(), flags_ = flags; }
    bool isInvisible() const { return (flags_ & AttributeFlags::kInvisible) != 0; }
    bool isConstant() const { return (flags_ & AttributeFlags::kConstant) != 0; }

  private:
    std::string tag_;
    std::int16_t flags_ = 0;
};

/// The definition of an attribute in a block (ATTDEF): its tag, prompt and default value, from which block
/// references take their attributes.
class AttributeDefinition : public Text {
    VELA_DB_DECLARE_CLASS(AttributeDefinition)
  public:
    AttributeDefinition() = default;

    const std::string& tag() const { return tag_; }
    void setTag(std::string_view tag) { assertWriteEnabled(), tag_ = std::string(tag); }
    const std::string& prompt() const { return prompt_; }
    void setPrompt(std::string_view prompt) { assertWriteEnabled(), prompt_ = std::string(prompt); }
    std::int16_t flags() const { return flags_; }
    void setFlags(std::int16_t flags) { assertWriteEnabled(), flags_ = flags; }
    bool isInvisible() const { return (flags_ & AttributeFlags::kInvisible) != 0; }
    bool isConstant() const { return (flags_ & AttributeFlags::kConstant) != 0; }

  private:
    std::string tag_;
    std::string prompt_;
    std::int16_t flags_ = 0;
};

}  // namespace vela::db
