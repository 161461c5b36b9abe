#pragma once
// The wide string of every structure exchanged with the plug-ins. The plug-in
// side is compiled against the same memory layout and reads and writes these
// strings directly, so the layout below is a contract.
//
// The object is a single pointer to the first character; null is the empty
// string without a buffer. The characters live in one block (capacity c):
//
//   offset 0        uint32 guard 0xABCD
//   offset 4        StringHeader* (unaligned: always read and written by memcpy)
//   offset 12       uint32 guard 0xABCD
//   offset 16       c + 1 characters; position c always holds the terminator
//   offset 18 + 2c  uint32 guard 0xABCD
//
// i.e. 2c + 22 bytes. The header is a separate record that names the memory
// manager owning the block (and possibly the header itself).
//
// A string whose guards do not hold, or whose length exceeds its capacity, has
// been overwritten by someone; using it would spread the damage to the other
// side of the boundary, so every use of a non-empty string checks it first and
// ends the process if it is broken.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include "frame/mem_mgr.h"

namespace kel {

struct StringHeader {
  IMemMgr* mgr;
  uint64_t length;    // characters, without the terminator
  uint64_t capacity;  // characters, without the terminator position
  uint64_t step;      // minimum growth
  uint8_t buffer_owned;
  uint8_t header_owned;
};

template <class Ch>
struct ChTraitsCRT;

template <>
struct ChTraitsCRT<wchar_t> {
  static size_t Length(const wchar_t* text) noexcept { return std::wcslen(text); }
};

namespace string_block {

constexpr uint32_t kGuard = 0xABCD;
constexpr size_t kHeaderOffset = 4;
constexpr size_t kSecondGuardOffset = 12;
constexpr size_t kPrefixBytes = 16;
constexpr uint64_t kDefaultStep = 64;
// Below this capacity a growing string at least doubles; from here on it grows
// by at least this much, which keeps large strings from overshooting.
constexpr uint64_t kDoublingLimit = 1024;
// Far below the point where the block size would overflow.
constexpr size_t kMaxCapacity = static_cast<size_t>(PTRDIFF_MAX) / 4;

constexpr size_t BlockBytes(size_t capacity) { return capacity * 2 + 22; }

// Ends the process: the string has been overwritten (kept out of line so the
// checks in the hot paths stay small).
[[noreturn]] void Corrupted() noexcept;

// The capacity a string of capacity `current` grows to when `needed`
// characters do not fit.
constexpr uint64_t GrownCapacity(uint64_t current, uint64_t step, uint64_t needed) {
  const uint64_t extra = needed - current > step ? needed - current : step;
  if (current < kDoublingLimit) return current + (extra > current ? extra : current);
  return current + (extra > kDoublingLimit ? extra : kDoublingLimit);
}

}  // namespace string_block

template <class Ch, class MemMgr, class Traits, int kVariant>
class StringT {
  static_assert(sizeof(Ch) == 2, "the shared block layout holds 16-bit characters");

 public:
  using CharType = Ch;
  // As a length: "up to the terminator".
  static constexpr size_t npos = static_cast<size_t>(-1);

  StringT() noexcept = default;
  StringT(const Ch* text) { Assign(text, npos); }  // NOLINT: implicit like a literal
  StringT(const Ch* text, size_t length) { Assign(text, length); }
  explicit StringT(const std::basic_string<Ch>& text) { Assign(text.data(), text.size()); }

  // An empty string whose header and block both come from `mgr` (the default
  // manager when null), with room for at least `capacity` characters.
  StringT(IMemMgr* mgr, size_t capacity) { AllocateFresh(mgr, capacity); }

  StringT(const StringT& other) {
    if (const StringHeader* h = other.Checked()) Assign(other.data_, h->length);
  }
  StringT(StringT&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
  ~StringT() { Reset(); }

  StringT& operator=(const StringT& other) {
    if (this == &other) return *this;
    if (const StringHeader* h = other.Checked()) {
      Assign(other.data_, h->length);
    } else {
      Clear();
    }
    return *this;
  }
  StringT& operator=(StringT&& other) noexcept {
    if (this != &other) {
      Reset();
      data_ = other.data_;
      other.data_ = nullptr;
    }
    return *this;
  }
  StringT& operator=(const Ch* text) {
    Assign(text, npos);
    return *this;
  }
  StringT& operator=(const std::basic_string<Ch>& text) {
    Assign(text.data(), text.size());
    return *this;
  }

  // Replaces the contents with `length` characters of `text` (npos: up to the
  // terminator; a null text is empty). A string without a buffer gets one even
  // for zero characters. `text` may point into this string.
  void Assign(const Ch* text, size_t length = npos) {
    if (text == nullptr) length = 0;
    if (length == npos) length = Traits::Length(text);
    StringHeader* h = Reserve(length);
    if (length != 0) std::memmove(data_, text, length * sizeof(Ch));
    h->length = length;
    data_[length] = 0;
  }

  // Adds `length` characters of `text` (npos: up to the terminator). `text`
  // may point into this string.
  void Append(const Ch* text, size_t length = npos) {
    if (text == nullptr) return;
    if (length == npos) length = Traits::Length(text);
    if (length == 0) return;
    StringHeader* h = Checked();
    const size_t current = h != nullptr ? static_cast<size_t>(h->length) : 0;
    if (length > string_block::kMaxCapacity - current) throw std::length_error("string too long");
    size_t inside = npos;  // offset of `text` in our own buffer, which growth may move
    if (h != nullptr && !std::less<const Ch*>()(text, data_) &&
        std::less<const Ch*>()(text, data_ + current + 1)) {
      inside = static_cast<size_t>(text - data_);
    }
    h = Fit(h, current + length);
    if (inside != npos) text = data_ + inside;
    std::memmove(data_ + current, text, length * sizeof(Ch));
    h->length = current + length;
    data_[current + length] = 0;
  }
  void Append(const StringT& other) {
    if (const StringHeader* h = other.Checked()) Append(other.data_, h->length);
  }
  void AppendChar(Ch ch) {
    StringHeader* h = Checked();
    const size_t current = h != nullptr ? static_cast<size_t>(h->length) : 0;
    h = Fit(h, current + 1);
    data_[current] = ch;
    data_[current + 1] = 0;
    h->length = current + 1;
  }
  StringT& operator+=(const Ch* text) {
    Append(text, npos);
    return *this;
  }
  StringT& operator+=(const StringT& other) {
    Append(other);
    return *this;
  }
  StringT& operator+=(Ch ch) {
    AppendChar(ch);
    return *this;
  }

  // Never null: an empty string without a buffer reads as "".
  const Ch* c_str() const noexcept { return Checked() != nullptr ? data_ : kEmpty; }
  size_t Length() const noexcept {
    const StringHeader* h = Checked();
    return h != nullptr ? static_cast<size_t>(h->length) : 0;
  }
  size_t Capacity() const noexcept {
    const StringHeader* h = Checked();
    return h != nullptr ? static_cast<size_t>(h->capacity) : 0;
  }
  bool IsEmpty() const noexcept { return Length() == 0; }

  // For writing in place: room for at least `capacity` characters; the
  // contents are kept. Finish with SetLength.
  Ch* GetBuffer(size_t capacity) {
    Reserve(capacity);
    return data_;
  }
  // Sets the length and the terminator. A length beyond the capacity means the
  // caller has written past the buffer: the process ends.
  void SetLength(size_t length) noexcept {
    StringHeader* h = Checked();
    if (h == nullptr) {
      if (length != 0) string_block::Corrupted();
      return;
    }
    if (length > h->capacity) string_block::Corrupted();
    h->length = length;
    data_[length] = 0;
  }
  // Empties the string and keeps its buffer.
  void Clear() noexcept {
    if (data_ != nullptr) SetLength(0);
  }
  // Gives the buffer and header back to their manager.
  void Reset() noexcept {
    if (data_ == nullptr) return;
    StringHeader* h = Checked();
    IMemMgr* mgr = h->mgr;
    if (h->buffer_owned)
      mgr->Free(reinterpret_cast<unsigned char*>(data_) - string_block::kPrefixBytes);
    if (h->header_owned) mgr->Free(h);
    mgr->Release();
    data_ = nullptr;
  }
  void Swap(StringT& other) noexcept {
    Ch* data = data_;
    data_ = other.data_;
    other.data_ = data;
  }

  std::basic_string<Ch> ToStd() const { return std::basic_string<Ch>(c_str(), Length()); }

  // The checked header; null when there is no buffer.
  const StringHeader* Header() const noexcept { return Checked(); }
  // The stored pointer as is (null without a buffer), without any check.
  Ch* RawPointer() const noexcept { return data_; }

  friend bool operator==(const StringT& a, const StringT& b) noexcept {
    const size_t length = a.Length();
    return length == b.Length() && std::memcmp(a.c_str(), b.c_str(), length * sizeof(Ch)) == 0;
  }
  friend bool operator==(const StringT& a, const Ch* b) noexcept {
    if (b == nullptr) return a.IsEmpty();
    const size_t length = a.Length();
    return Traits::Length(b) == length && std::memcmp(a.c_str(), b, length * sizeof(Ch)) == 0;
  }
  friend bool operator==(const Ch* a, const StringT& b) noexcept { return b == a; }
  friend bool operator!=(const StringT& a, const StringT& b) noexcept { return !(a == b); }
  friend bool operator!=(const StringT& a, const Ch* b) noexcept { return !(a == b); }
  friend bool operator!=(const Ch* a, const StringT& b) noexcept { return !(b == a); }
  // Code-unit order, for ordered containers.
  friend bool operator<(const StringT& a, const StringT& b) noexcept {
    const size_t la = a.Length(), lb = b.Length();
    const Ch* pa = a.c_str();
    const Ch* pb = b.c_str();
    for (size_t i = 0; i < la && i < lb; ++i) {
      if (pa[i] != pb[i]) return pa[i] < pb[i];
    }
    return la < lb;
  }

 private:
  static constexpr Ch kEmpty[1] = {};

  StringHeader* Checked() const noexcept {
    if (data_ == nullptr) return nullptr;
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(data_);
    uint32_t lead, mid, tail;
    StringHeader* h;
    std::memcpy(&lead, raw - string_block::kPrefixBytes, sizeof lead);
    std::memcpy(&h, raw - string_block::kPrefixBytes + string_block::kHeaderOffset, sizeof h);
    std::memcpy(&mid, raw - string_block::kPrefixBytes + string_block::kSecondGuardOffset,
                sizeof mid);
    if (((lead ^ string_block::kGuard) | (mid ^ string_block::kGuard)) != 0 || h == nullptr) {
      string_block::Corrupted();
    }
    std::memcpy(&tail, raw + (h->capacity + 1) * sizeof(Ch), sizeof tail);
    if (tail != string_block::kGuard || h->length > h->capacity) string_block::Corrupted();
    return h;
  }

  // Makes room for `needed` characters; returns the (checked) header.
  StringHeader* Reserve(size_t needed) { return Fit(Checked(), needed); }

  // Reserve for a header already checked (null: no buffer yet).
  StringHeader* Fit(StringHeader* h, size_t needed) {
    if (h == nullptr) return AllocateFresh(nullptr, needed);
    if (needed > h->capacity) Grow(h, needed);
    return h;
  }

  // A header (step 64, header-owned) and a zero-filled block of capacity
  // max(needed, step), both from `mgr` (the default manager when null).
  StringHeader* AllocateFresh(IMemMgr* mgr, size_t needed) {
    if (needed > string_block::kMaxCapacity) throw std::length_error("string too long");
    if (mgr == nullptr) mgr = MemMgr::Instance();
    void* header_memory = mgr->Allocate(sizeof(StringHeader));
    if (header_memory == nullptr) throw std::bad_alloc();
    StringHeader* h = new (header_memory) StringHeader{mgr, 0, 0, string_block::kDefaultStep, 0, 1};
    size_t capacity = needed > h->step ? needed : static_cast<size_t>(h->step);
    void* block = mgr->Allocate(string_block::BlockBytes(capacity));
    if (block == nullptr) {
      mgr->Free(header_memory);
      throw std::bad_alloc();
    }
    h->capacity = capacity;
    h->buffer_owned = 1;
    data_ = WriteFrame(block, h, 0, capacity);
    return h;
  }

  void Grow(StringHeader* h, size_t needed) {
    if (needed > string_block::kMaxCapacity) throw std::length_error("string too long");
    const size_t old_capacity = static_cast<size_t>(h->capacity);
    size_t capacity =
        static_cast<size_t>(string_block::GrownCapacity(old_capacity, h->step, needed));
    if (capacity > string_block::kMaxCapacity) capacity = needed;
    const size_t bytes = string_block::BlockBytes(capacity);
    unsigned char* old_block = reinterpret_cast<unsigned char*>(data_) - string_block::kPrefixBytes;
    IMemMgr* mgr = h->mgr;
    // A buffer the header does not own must not be resized or freed here.
    void* block = h->buffer_owned ? mgr->Reallocate(old_block, bytes) : nullptr;
    if (block == nullptr) {
      block = mgr->Allocate(bytes);
      if (block == nullptr) throw std::bad_alloc();
      // The prefix and every character position; not the old trailing guard.
      std::memcpy(block, old_block, string_block::BlockBytes(old_capacity) - sizeof(uint32_t));
      if (h->buffer_owned) mgr->Free(old_block);
      h->buffer_owned = 1;
    }
    h->capacity = capacity;
    data_ = WriteFrame(block, h, old_capacity + 1, capacity);
  }

  // Writes the guards and the header pointer around the characters and
  // zero-fills positions [from, capacity]; returns the first character.
  static Ch* WriteFrame(void* block, StringHeader* h, size_t from, size_t capacity) noexcept {
    unsigned char* raw = static_cast<unsigned char*>(block);
    std::memcpy(raw, &string_block::kGuard, sizeof(uint32_t));
    std::memcpy(raw + string_block::kHeaderOffset, &h, sizeof h);
    std::memcpy(raw + string_block::kSecondGuardOffset, &string_block::kGuard, sizeof(uint32_t));
    Ch* chars = reinterpret_cast<Ch*>(raw + string_block::kPrefixBytes);
    if (from <= capacity) std::memset(chars + from, 0, (capacity + 1 - from) * sizeof(Ch));
    std::memcpy(chars + capacity + 1, &string_block::kGuard, sizeof(uint32_t));
    return chars;
  }

  Ch* data_ = nullptr;
};

using StringW = StringT<wchar_t, StringMemMgr, ChTraitsCRT<wchar_t>, 1>;
static_assert(sizeof(StringW) == sizeof(void*), "a StringT is exactly one pointer");

// Replaces `out` with the decimal text of `value` ("-" and the magnitude for
// negatives, no padding).
void IntToString(int32_t value, StringW& out);

}  // namespace kel
