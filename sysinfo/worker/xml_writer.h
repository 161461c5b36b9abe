#pragma once
// The worker's output: a UTF-8 XML document of elements whose text lies in
// "value" attributes only. Whatever the directory holds, the document is
// well-formed: every value is escaped, and characters XML 1.0 cannot carry
// (control characters, unpaired surrogates, U+FFFE, U+FFFF) become U+FFFD.
#include <cstddef>
#include <string>

namespace Worker {

// Appends `text` (UTF-16) to `out` as UTF-8 fit for a double-quoted attribute.
// Tab, line feed and carriage return are written as character references so
// that an attribute's value survives a parser's whitespace normalisation.
void AppendEscaped(std::string& out, const wchar_t* text, size_t length);

class XmlWriter {
 public:
  XmlWriter();  // starts with the XML declaration

  // <tag> on a line of its own; Close writes </tag>. Tags are ASCII names.
  void Open(const char* tag);
  void Close(const char* tag);
  // <tag value="..."/>. An empty value writes nothing: the reader of the
  // document takes a leaf without a value for a missing one.
  void Leaf(const char* tag, const std::wstring& value);

  const std::string& text() const noexcept { return text_; }
  std::string& text() noexcept { return text_; }

 private:
  void Indent();
  std::string text_;
  size_t depth_ = 0;
};

}  // namespace Worker
