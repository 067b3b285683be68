#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include "db/dxf/tags/tag_reader.h"

namespace vela::db::dxf {

// Builds binary DXF the way the format lays it out, independently of the reader.
class BinaryDxf {
  public:
    explicit BinaryDxf(bool oneByteCodes = false) : oneByte_(oneByteCodes) {
        data.assign(kBinaryDxfSentinel);
    }
    BinaryDxf& code(int c) {
        if (oneByte_ && c < 255) return raw(static_cast<char>(c));
        if (oneByte_) raw('\xFF');
        return raw(static_cast<char>(c & 0xFF)).raw(static_cast<char>(c >> 8));
    }
    BinaryDxf& str(int c, std::string_view s) {
        code(c);
        data += s;
        return raw('\0');
    }
    template <class T>
    BinaryDxf& num(int c, T v) {
        code(c);
        unsigned char b[sizeof(T)];
        std::memcpy(b, &v, sizeof v);  // the test machine is little-endian, like the format
        data.append(reinterpret_cast<const char*>(b), sizeof b);
        return *this;
    }
    BinaryDxf& raw(char c) {
        data += c;
        return *this;
    }
    std::string data;

  private:
    bool oneByte_;
};

}  // namespace vela::db::dxf
