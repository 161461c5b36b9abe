#include "sysinfo/worker/xml_writer.h"

#include <cstdint>

namespace Worker {
namespace {

void AppendUtf8(std::string& out, uint32_t code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

constexpr uint32_t kReplacement = 0xFFFD;

}  // namespace

void AppendEscaped(std::string& out, const wchar_t* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    const uint32_t c = static_cast<uint16_t>(text[i]);
    switch (c) {
      case '&': out += "&amp;"; continue;
      case '<': out += "&lt;"; continue;
      case '>': out += "&gt;"; continue;
      case '"': out += "&quot;"; continue;
      case '\'': out += "&apos;"; continue;
      case '\t': out += "&#9;"; continue;
      case '\n': out += "&#10;"; continue;
      case '\r': out += "&#13;"; continue;
      default: break;
    }
    if (c < 0x20 || c == 0xFFFE || c == 0xFFFF) {
      AppendUtf8(out, kReplacement);
    } else if (c >= 0xD800 && c <= 0xDBFF) {
      const uint32_t next = i + 1 < length ? static_cast<uint16_t>(text[i + 1]) : 0;
      if (next >= 0xDC00 && next <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00));
        ++i;
      } else {
        AppendUtf8(out, kReplacement);
      }
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      AppendUtf8(out, kReplacement);
    } else {
      AppendUtf8(out, c);
    }
  }
}

XmlWriter::XmlWriter() : text_("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n") {}

void XmlWriter::Indent() { text_.append(depth_ * 2, ' '); }

void XmlWriter::Open(const char* tag) {
  Indent();
  text_ += '<';
  text_ += tag;
  text_ += ">\n";
  ++depth_;
}

void XmlWriter::Close(const char* tag) {
  if (depth_ > 0) --depth_;
  Indent();
  text_ += "</";
  text_ += tag;
  text_ += ">\n";
}

void XmlWriter::Leaf(const char* tag, const std::wstring& value) {
  if (value.empty()) return;
  Indent();
  text_ += '<';
  text_ += tag;
  text_ += " value=\"";
  AppendEscaped(text_, value.data(), value.size());
  text_ += "\"/>\n";
}

}  // namespace Worker
