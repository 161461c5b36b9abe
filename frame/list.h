#pragma once
// The list of every structure exchanged with the plug-ins. The plug-ins call
// lists and their enumerators through the virtual slots, so the declaration
// order of every interface below is a contract: each slot has a name of its
// own (no overloaded virtuals, whose order MSVC rearranges) and the virtual
// destructor comes last, where both the MSVC and the Itanium ABI put it
// behind the same slots.
//
// Like the standard containers, adding an element may throw: std::length_error
// "list too long" beyond the maximum count, or whatever allocating and copying
// the element throws. Nothing else in these interfaces throws.
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "frame/result_codes.h"

namespace kel {

namespace container_result {
constexpr uint32_t kOk = result::kSuccess;
constexpr uint32_t kAlreadyExists = result::kAlreadyExists;
constexpr uint32_t kNotFound = result::kNotFound;
}  // namespace container_result

template <class T>
class IListEnum {
 public:
  virtual bool HasCurrent() const = 0;  // slot 0
  // Slot 1: moves on; returns the element just left (null at the end).
  virtual T* Advance() = 0;
  virtual T* Current() const = 0;  // slot 2: null at the end
  virtual void Release() = 0;      // slot 3: deletes the enumerator
  virtual void Reset() = 0;        // slot 4: back to the first element
  virtual ~IListEnum() = default;  // slot 5
};

template <class T>
class IConstListEnum {
 public:
  virtual bool HasCurrent() const = 0;
  virtual const T* Advance() = 0;
  virtual const T* Current() const = 0;
  virtual void Release() = 0;
  virtual void Reset() = 0;
  virtual ~IConstListEnum() = default;
};

template <class T>
class IList {
 public:
  virtual uint32_t AddBack(const T& value) = 0;         // slot 0
  virtual uint32_t AddFront(const T& value) = 0;        // slot 1
  virtual const T* LastConst() const = 0;               // slot 2
  virtual T* Last() = 0;                                // slot 3
  virtual uint32_t CopyLast(T& out) const = 0;          // slot 4: 0 or 1168
  virtual const T* FirstConst() const = 0;              // slot 5
  virtual T* First() = 0;                               // slot 6
  virtual uint32_t CopyFirst(T& out) const = 0;         // slot 7: 0 or 1168
  virtual void RemoveAt(IListEnum<T>* position) = 0;    // slot 8: the enumerator moves on
  virtual IConstListEnum<T>* NewConstEnum() const = 0;  // slot 9: null if out of memory
  virtual IListEnum<T>* NewEnum() = 0;                  // slot 10: null if out of memory
  virtual void RemoveAll() = 0;                         // slot 11
  virtual uint64_t Count() const = 0;                   // slot 12
  virtual ~IList() = default;
};

// Releases an enumerator if there is one.
template <class E>
void ReleaseEnum(E* enumerator) noexcept {
  if (enumerator != nullptr) enumerator->Release();
}

// Owns one enumerator and releases it, so that no early return forgets to.
template <class E>
class EnumPtr {
 public:
  EnumPtr() noexcept = default;
  explicit EnumPtr(E* enumerator) noexcept : e_(enumerator) {}
  EnumPtr(EnumPtr&& other) noexcept : e_(other.release()) {}
  EnumPtr& operator=(EnumPtr&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  EnumPtr(const EnumPtr&) = delete;
  EnumPtr& operator=(const EnumPtr&) = delete;
  ~EnumPtr() { ReleaseEnum(e_); }

  E* get() const noexcept { return e_; }
  E* operator->() const noexcept { return e_; }
  E& operator*() const noexcept { return *e_; }
  explicit operator bool() const noexcept { return e_ != nullptr; }
  E* release() noexcept {
    E* e = e_;
    e_ = nullptr;
    return e;
  }
  void reset(E* enumerator = nullptr) noexcept {
    ReleaseEnum(e_);
    e_ = enumerator;
  }

 private:
  E* e_ = nullptr;
};

namespace detail {

struct Link {
  Link* next;
  Link* prev;
};

template <class T>
struct ListNode : Link {
  template <class... A>
  explicit ListNode(A&&... args) : value(std::forward<A>(args)...) {}
  T value;
};

// Walks a circular chain of ListNode-like nodes (range-for support).
template <class Node, class V>
class LinkIterator {
 public:
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = std::remove_const_t<V>;
  using difference_type = std::ptrdiff_t;
  using pointer = V*;
  using reference = V&;

  explicit LinkIterator(const Link* link) noexcept : link_(const_cast<Link*>(link)) {}
  V& operator*() const noexcept { return static_cast<Node*>(link_)->value; }
  V* operator->() const noexcept { return &static_cast<Node*>(link_)->value; }
  LinkIterator& operator++() noexcept {
    link_ = link_->next;
    return *this;
  }
  LinkIterator operator++(int) noexcept {
    LinkIterator old = *this;
    link_ = link_->next;
    return old;
  }
  LinkIterator& operator--() noexcept {
    link_ = link_->prev;
    return *this;
  }
  friend bool operator==(const LinkIterator& a, const LinkIterator& b) noexcept {
    return a.link_ == b.link_;
  }
  friend bool operator!=(const LinkIterator& a, const LinkIterator& b) noexcept {
    return a.link_ != b.link_;
  }

 private:
  Link* link_;
};

}  // namespace detail

template <class T>
class List;

template <class T>
class ListEnum final : public IListEnum<T> {
 public:
  bool HasCurrent() const override { return current_ != &list_->head_; }
  T* Advance() override {
    if (!HasCurrent()) return nullptr;
    detail::Link* left = current_;
    current_ = left->next;
    return &static_cast<detail::ListNode<T>*>(left)->value;
  }
  T* Current() const override {
    return HasCurrent() ? &static_cast<detail::ListNode<T>*>(current_)->value : nullptr;
  }
  void Release() override { delete this; }
  void Reset() override { current_ = list_->head_.next; }

 private:
  friend class List<T>;
  explicit ListEnum(List<T>* list) noexcept : list_(list), current_(list->head_.next) {}
  ~ListEnum() override = default;

  List<T>* list_;
  detail::Link* current_;
};

template <class T>
class ConstListEnum final : public IConstListEnum<T> {
 public:
  bool HasCurrent() const override { return current_ != &list_->head_; }
  const T* Advance() override {
    if (!HasCurrent()) return nullptr;
    const detail::Link* left = current_;
    current_ = left->next;
    return &static_cast<const detail::ListNode<T>*>(left)->value;
  }
  const T* Current() const override {
    return HasCurrent() ? &static_cast<const detail::ListNode<T>*>(current_)->value : nullptr;
  }
  void Release() override { delete this; }
  void Reset() override { current_ = list_->head_.next; }

 private:
  friend class List<T>;
  explicit ConstListEnum(const List<T>* list) noexcept : list_(list), current_(list->head_.next) {}
  ~ConstListEnum() override = default;

  const List<T>* list_;
  const detail::Link* current_;
};

// A circular doubly linked list with a sentinel. Enumerators refer to the list
// and to a node: moving or destroying the list, or removing their node by
// another way than RemoveAt with that very enumerator, invalidates them.
template <class T>
class List final : public IList<T> {
  using Node = detail::ListNode<T>;

 public:
  using value_type = T;
  using iterator = detail::LinkIterator<Node, T>;
  using const_iterator = detail::LinkIterator<Node, const T>;

  List() noexcept { head_.next = head_.prev = &head_; }
  List(const List& other) : List() {
    for (const T& value : other) EmplaceBack(value);
  }
  List(List&& other) noexcept : List() { TakeFrom(other); }
  List& operator=(const List& other) {
    if (this != &other) {
      List copy(other);
      Swap(copy);
    }
    return *this;
  }
  List& operator=(List&& other) noexcept {
    if (this != &other) {
      RemoveAll();
      TakeFrom(other);
    }
    return *this;
  }
  ~List() override { RemoveAll(); }

  uint32_t AddBack(const T& value) override {
    EmplaceBack(value);
    return container_result::kOk;
  }
  uint32_t AddFront(const T& value) override {
    LinkBefore(head_.next, NewNode(value));
    return container_result::kOk;
  }
  const T* LastConst() const override { return count_ != 0 ? &ValueOf(head_.prev) : nullptr; }
  T* Last() override { return count_ != 0 ? &ValueOf(head_.prev) : nullptr; }
  uint32_t CopyLast(T& out) const override {
    if (count_ == 0) return container_result::kNotFound;
    out = ValueOf(head_.prev);
    return container_result::kOk;
  }
  const T* FirstConst() const override { return count_ != 0 ? &ValueOf(head_.next) : nullptr; }
  T* First() override { return count_ != 0 ? &ValueOf(head_.next) : nullptr; }
  uint32_t CopyFirst(T& out) const override {
    if (count_ == 0) return container_result::kNotFound;
    out = ValueOf(head_.next);
    return container_result::kOk;
  }
  void RemoveAt(IListEnum<T>* position) override {
    if (position == nullptr) return;
    // Only enumerators made by NewEnum exist for this interface.
    ListEnum<T>* e = static_cast<ListEnum<T>*>(position);
    if (e->list_ != this || e->current_ == &head_) return;
    detail::Link* node = e->current_;
    e->current_ = node->next;
    Unlink(node);
  }
  IConstListEnum<T>* NewConstEnum() const override {
    return new (std::nothrow) ConstListEnum<T>(this);
  }
  IListEnum<T>* NewEnum() override { return new (std::nothrow) ListEnum<T>(this); }
  void RemoveAll() override {
    detail::Link* link = head_.next;
    while (link != &head_) {
      detail::Link* next = link->next;
      delete static_cast<Node*>(link);
      link = next;
    }
    head_.next = head_.prev = &head_;
    count_ = 0;
  }
  uint64_t Count() const override { return count_; }

  // Non-virtual conveniences for this side of the boundary.
  template <class... A>
  T& EmplaceBack(A&&... args) {
    Node* node = NewNode(std::forward<A>(args)...);
    LinkBefore(&head_, node);
    return node->value;
  }
  bool IsEmpty() const noexcept { return count_ == 0; }
  void Swap(List& other) noexcept {
    List tmp;
    tmp.TakeFrom(other);
    other.TakeFrom(*this);
    TakeFrom(tmp);
  }
  // The largest count whose nodes fit in the address space.
  static constexpr uint64_t MaxCount() noexcept { return SIZE_MAX / sizeof(Node); }

  iterator begin() noexcept { return iterator(head_.next); }
  iterator end() noexcept { return iterator(&head_); }
  const_iterator begin() const noexcept { return const_iterator(head_.next); }
  const_iterator end() const noexcept { return const_iterator(&head_); }

 private:
  friend class ListEnum<T>;
  friend class ConstListEnum<T>;

  static T& ValueOf(detail::Link* link) noexcept { return static_cast<Node*>(link)->value; }
  static const T& ValueOf(const detail::Link* link) noexcept {
    return static_cast<const Node*>(link)->value;
  }

  template <class... A>
  Node* NewNode(A&&... args) {
    if (count_ >= MaxCount()) throw std::length_error("list too long");
    return new Node(std::forward<A>(args)...);
  }
  void LinkBefore(detail::Link* at, Node* node) noexcept {
    node->next = at;
    node->prev = at->prev;
    at->prev->next = node;
    at->prev = node;
    ++count_;
  }
  void Unlink(detail::Link* link) noexcept {
    link->prev->next = link->next;
    link->next->prev = link->prev;
    --count_;
    delete static_cast<Node*>(link);
  }
  // Takes the nodes of `other` (this list must be empty) and leaves it empty.
  void TakeFrom(List& other) noexcept {
    if (other.count_ == 0) return;
    head_.next = other.head_.next;
    head_.prev = other.head_.prev;
    head_.next->prev = &head_;
    head_.prev->next = &head_;
    count_ = other.count_;
    other.head_.next = other.head_.prev = &other.head_;
    other.count_ = 0;
  }

  detail::Link head_;
  uint64_t count_ = 0;
};

}  // namespace kel
