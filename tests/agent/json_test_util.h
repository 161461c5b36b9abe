#pragma once
// JSON literals written as text, and helpers for documents too deep for
// jsoncpp's own recursion.
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

namespace json_test {

inline Json::Value Parse(std::string_view text) {
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string problem;
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &problem))
      << text << ": " << problem;
  return value;
}

// One-line text with members in key order. jsoncpp's operator== tells an
// integer parsed from text from one built from an unsigned value; the text
// does not, which is what a reader of the document sees.
inline std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

// The compact form of a literal, so expectations can be written readably.
inline std::string Canonical(std::string_view text) { return Compact(Parse(text)); }

}  // namespace json_test
