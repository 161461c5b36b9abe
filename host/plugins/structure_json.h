#pragma once
// The JSON form of plug-in structures in scripts: an object whose members are
// the structure's field names. A member left out keeps the field as it is; a
// member of the wrong type, or one the structure lacks, is refused, so that a
// misspelt field in a script does not go unnoticed.
//
// StructureReader and StructureWriter have the same members, so one generic
// callable `[](auto& io, auto& s) { io.UInt32("level", s.level); ... }` lists a
// structure's fields once and serves both directions; nested structures, lists
// and maps of structures take such a callable for their element.
//
// Lists handed over by the module are read and written through their virtual
// slots only, as a plug-in compiled elsewhere would.
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <json/value.h>

#include "frame/guid.h"
#include "frame/list.h"
#include "frame/map.h"
#include "frame/string.h"
#include "frame/text_convert.h"

namespace kelhost {

// How one JSON value becomes a T and back, for the scalar types structures
// hold. Read answers false when the value has the wrong type or range.
template <class T>
struct ScalarJson;

template <>
struct ScalarJson<bool> {
  static constexpr const char* kExpected = "true or false";
  static bool Read(const Json::Value& value, bool& out);
  static Json::Value Write(bool value) { return Json::Value(value); }
};
template <>
struct ScalarJson<uint32_t> {
  static constexpr const char* kExpected = "an unsigned 32-bit integer";
  static bool Read(const Json::Value& value, uint32_t& out);
  static Json::Value Write(uint32_t value) { return Json::Value(value); }
};
template <>
struct ScalarJson<int64_t> {
  static constexpr const char* kExpected = "a signed 64-bit integer";
  static bool Read(const Json::Value& value, int64_t& out);
  static Json::Value Write(int64_t value) { return Json::Value(static_cast<Json::Int64>(value)); }
};
template <>
struct ScalarJson<uint64_t> {
  static constexpr const char* kExpected = "an unsigned 64-bit integer";
  static bool Read(const Json::Value& value, uint64_t& out);
  static Json::Value Write(uint64_t value) { return Json::Value(static_cast<Json::UInt64>(value)); }
};
template <>
struct ScalarJson<kel::StringW> {
  static constexpr const char* kExpected = "a string";
  static bool Read(const Json::Value& value, kel::StringW& out);
  static Json::Value Write(const kel::StringW& value);
};
template <>
struct ScalarJson<kel::Guid> {
  static constexpr const char* kExpected = "a GUID text (8-4-4-4-12 hex digits, braces optional)";
  static bool Read(const Json::Value& value, kel::Guid& out);
  static Json::Value Write(const kel::Guid& value);
};

class StructureReader {
 public:
  // `what` names the structure in problems ("SampleSettings"); a nested
  // structure's name is its path ("ScanResult.modules[1]").
  StructureReader(const Json::Value& data, std::string what);

  void Flag(const char* field, uint8_t& out);  // JSON bool → 0/1
  void Bool(const char* field, bool& out) { Scalar(field, out); }
  void UInt32(const char* field, uint32_t& out) { Scalar(field, out); }
  void Int64(const char* field, int64_t& out) { Scalar(field, out); }
  void UInt64(const char* field, uint64_t& out) { Scalar(field, out); }
  void String(const char* field, kel::StringW& out) { Scalar(field, out); }
  void Guid(const char* field, kel::Guid& out) { Scalar(field, out); }
  void StringList(const char* field, kel::List<kel::StringW>& out) { List(field, out); }

  // A member that is a structure, read by `fields(StructureReader&, T&)` into
  // `out` as it is (members left out keep their values).
  template <class T, class Fields>
  void Structure(const char* field, T& out, Fields fields);

  // A JSON array. Without `fields` the elements are scalars (ScalarJson<T>);
  // with it each element is a structure that starts from T's defaults.
  template <class T>
  void List(const char* field, kel::List<T>& out);
  template <class T, class Fields>
  void List(const char* field, kel::List<T>& out, Fields fields);

  // A JSON object whose member names are the keys; values as for List.
  template <class V>
  void Map(const char* field, kel::Map<kel::StringW, V>& out);
  template <class V, class Fields>
  void Map(const char* field, kel::Map<kel::StringW, V>& out, Fields fields);

  // True when every member was read and every member read was right; else
  // `problem` says what was wrong first.
  bool Finish(std::string& problem);

 private:
  // The member for `field`, or null when absent (or after an earlier problem).
  const Json::Value* Member(const char* field);
  void Refuse(const std::string& path, const char* expected);

  template <class T>
  void Scalar(const char* field, T& out);

  // Reads one element at `path`: a scalar when `fields` is nullptr, else a
  // structure through `fields`.
  template <class T, class Fields>
  bool Element(const Json::Value& value, const std::string& path, T& out, Fields& fields);

  template <class T, class Fields>
  void ReadList(const char* field, kel::List<T>& out, Fields fields);
  template <class V, class Fields>
  void ReadMap(const char* field, kel::Map<kel::StringW, V>& out, Fields fields);

  const Json::Value& data_;
  std::string what_;
  std::string problem_;
  std::set<std::string> known_;
};

// The reverse: a structure as the JSON object a script would write for it.
class StructureWriter {
 public:
  void Flag(const char* field, uint8_t value) { json_[field] = value != 0; }
  void Bool(const char* field, bool value) { Scalar(field, value); }
  void UInt32(const char* field, uint32_t value) { Scalar(field, value); }
  void Int64(const char* field, int64_t value) { Scalar(field, value); }
  void UInt64(const char* field, uint64_t value) { Scalar(field, value); }
  void String(const char* field, const kel::StringW& value) { Scalar(field, value); }
  void Guid(const char* field, const kel::Guid& value) { Scalar(field, value); }
  void StringList(const char* field, const kel::List<kel::StringW>& value) { List(field, value); }

  template <class T, class Fields>
  void Structure(const char* field, const T& value, Fields fields) {
    json_[field] = Write(value, fields);
  }
  template <class T>
  void List(const char* field, const kel::List<T>& value) {
    List(field, value, nullptr);
  }
  template <class T, class Fields>
  void List(const char* field, const kel::List<T>& value, Fields fields) {
    Json::Value array(Json::arrayValue);
    for (const T& item : value) array.append(Element(item, fields));
    json_[field] = std::move(array);
  }
  template <class V>
  void Map(const char* field, const kel::Map<kel::StringW, V>& value) {
    Map(field, value, nullptr);
  }
  template <class V, class Fields>
  void Map(const char* field, const kel::Map<kel::StringW, V>& value, Fields fields) {
    Json::Value object(Json::objectValue);
    for (const kel::MapEntry<kel::StringW, V>& entry : value) {
      object[ScalarJson<kel::StringW>::Write(entry.key).asString()] = Element(entry.value, fields);
    }
    json_[field] = std::move(object);
  }

  // The object written so far.
  const Json::Value& Result() const { return json_; }

  // `value` written by `fields(StructureWriter&, const T&)`.
  template <class T, class Fields>
  static Json::Value Write(const T& value, Fields& fields) {
    StructureWriter writer;
    fields(writer, value);
    return std::move(writer.json_);
  }

 private:
  template <class T>
  void Scalar(const char* field, const T& value) {
    json_[field] = ScalarJson<T>::Write(value);
  }
  template <class T, class Fields>
  static Json::Value Element(const T& value, Fields& fields) {
    if constexpr (std::is_same_v<Fields, std::nullptr_t>) {
      static_cast<void>(fields);
      return ScalarJson<T>::Write(value);
    } else {
      return Write(value, fields);
    }
  }

  Json::Value json_{Json::objectValue};
};

// The JSON form of plug-in values, for replies and event checks.
Json::Value StringToJson(const kel::StringW& value);
Json::Value StringListToJson(const kel::IList<kel::StringW>& list);

// Copies through the list's slots (NewConstEnum, RemoveAll, AddBack).
std::vector<kel::StringW> ReadListSlots(const kel::IList<kel::StringW>& list);
uint32_t WriteListSlots(kel::IList<kel::StringW>& target, const kel::IList<kel::StringW>& source);

// ---- StructureReader templates ----

template <class T>
void StructureReader::Scalar(const char* field, T& out) {
  const Json::Value* value = Member(field);
  std::nullptr_t scalar = nullptr;
  if (value != nullptr) Element(*value, what_ + "." + field, out, scalar);
}

template <class T, class Fields>
bool StructureReader::Element(const Json::Value& value, const std::string& path, T& out,
                              Fields& fields) {
  if constexpr (std::is_same_v<Fields, std::nullptr_t>) {
    static_cast<void>(fields);
    if (ScalarJson<T>::Read(value, out)) return true;
    Refuse(path, ScalarJson<T>::kExpected);
    return false;
  } else {
    StructureReader nested(value, path);
    if (value.isObject()) fields(nested, out);
    std::string problem;
    if (nested.Finish(problem)) return true;
    if (problem_.empty()) problem_ = std::move(problem);
    return false;
  }
}

template <class T, class Fields>
void StructureReader::Structure(const char* field, T& out, Fields fields) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  // Into a copy: a structure refused halfway is left as it was.
  T read = out;
  if (Element(*value, what_ + "." + field, read, fields)) out = std::move(read);
}

template <class T>
void StructureReader::List(const char* field, kel::List<T>& out) {
  ReadList(field, out, nullptr);
}
template <class T, class Fields>
void StructureReader::List(const char* field, kel::List<T>& out, Fields fields) {
  ReadList(field, out, fields);
}

template <class T, class Fields>
void StructureReader::ReadList(const char* field, kel::List<T>& out, Fields fields) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  const std::string path = what_ + "." + field;
  if (!value->isArray()) return Refuse(path, "an array");
  kel::List<T> items;
  for (Json::ArrayIndex i = 0; i < value->size(); ++i) {
    if (!Element((*value)[i], path + "[" + std::to_string(i) + "]", items.EmplaceBack(), fields)) {
      return;
    }
  }
  out = std::move(items);
}

template <class V>
void StructureReader::Map(const char* field, kel::Map<kel::StringW, V>& out) {
  ReadMap(field, out, nullptr);
}
template <class V, class Fields>
void StructureReader::Map(const char* field, kel::Map<kel::StringW, V>& out, Fields fields) {
  ReadMap(field, out, fields);
}

template <class V, class Fields>
void StructureReader::ReadMap(const char* field, kel::Map<kel::StringW, V>& out, Fields fields) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  const std::string path = what_ + "." + field;
  if (!value->isObject()) return Refuse(path, "an object");
  kel::Map<kel::StringW, V> items;
  for (auto it = value->begin(); it != value->end(); ++it) {
    const std::string name = it.name();
    V item{};
    if (!Element(*it, path + "[\"" + name + "\"]", item, fields)) return;
    items.Insert(kel::StringW(kel::WideFromUtf8(name)), item);
  }
  out = std::move(items);
}

}  // namespace kelhost
