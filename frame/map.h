#pragma once
// The hash map of the structures exchanged with the plug-ins (keys are
// StringT). As with the list, the plug-ins call it and its enumerators through
// the virtual slots, so the declaration order below is a contract: one name per
// slot, the virtual destructor last. Inserting may throw what allocating and
// copying the key and value throw; nothing else here throws.
//
// Enumeration runs in insertion order: the nodes are chained in a second,
// doubly linked list besides their bucket chains, which also makes removal at
// an enumerator and rehashing independent of each other.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

#include "frame/list.h"
#include "frame/string.h"

namespace kel {

// DJB2 over the characters (case-sensitive): start 5381, hash * 33 + character.
template <class Ch>
uint32_t HashDjb2(const Ch* text, size_t length) noexcept {
  uint32_t hash = 5381;
  for (size_t i = 0; i < length; ++i) {
    hash = hash * 33 + static_cast<uint32_t>(static_cast<std::make_unsigned_t<Ch>>(text[i]));
  }
  return hash;
}

template <class K>
struct MapKeyTraits {
  static size_t Hash(const K& key) { return std::hash<K>()(key); }
};

template <class Ch, class MemMgr, class Traits, int kVariant>
struct MapKeyTraits<StringT<Ch, MemMgr, Traits, kVariant>> {
  static size_t Hash(const StringT<Ch, MemMgr, Traits, kVariant>& key) noexcept {
    return HashDjb2(key.c_str(), key.Length());
  }
};

// What a map enumerator points at.
template <class K, class V>
struct MapEntry {
  const K key;
  V value;
};

template <class K, class V>
class IEnum {
 public:
  virtual bool HasCurrent() const = 0;          // slot 0
  virtual MapEntry<K, V>* Advance() = 0;        // slot 1: the entry just left, null at the end
  virtual MapEntry<K, V>* Current() const = 0;  // slot 2: null at the end
  virtual void Release() = 0;                   // slot 3: deletes the enumerator
  virtual void Reset() = 0;                     // slot 4: back to the first entry
  virtual ~IEnum() = default;                   // slot 5
};

template <class K, class V>
class IConstEnum {
 public:
  virtual bool HasCurrent() const = 0;
  virtual const MapEntry<K, V>* Advance() = 0;
  virtual const MapEntry<K, V>* Current() const = 0;
  virtual void Release() = 0;
  virtual void Reset() = 0;
  virtual ~IConstEnum() = default;
};

template <class K, class V>
class IMap {
 public:
  virtual uint32_t Insert(const K& key, const V& value) = 0;   // slot 0: 0, or 183 (old value kept)
  virtual V* Find(const K& key) = 0;                           // slot 1
  virtual const V* FindConst(const K& key) const = 0;          // slot 2
  virtual uint32_t CopyValue(const K& key, V& out) const = 0;  // slot 3: 0 or 1168
  virtual void RemoveAt(IEnum<K, V>* position) = 0;            // slot 4: the enumerator moves on
  virtual uint32_t Remove(const K& key) = 0;                   // slot 5: 0 or 1168
  virtual IEnum<K, V>* NewEnum() = 0;                          // slot 6: null if out of memory
  virtual IConstEnum<K, V>* NewConstEnum() const = 0;          // slot 7: null if out of memory
  virtual void RemoveAll() = 0;                                // slot 8
  virtual uint64_t Count() const = 0;                          // slot 9
  virtual ~IMap() = default;
};

namespace detail {

template <class K, class V>
struct MapNode : Link {
  MapNode(const K& key, const V& v, size_t h) : value{key, v}, hash(h) {}
  MapEntry<K, V> value;  // named like ListNode's, for LinkIterator
  size_t hash;
  MapNode* chain = nullptr;
};

}  // namespace detail

template <class K, class V>
class Map;

template <class K, class V>
class Enum final : public IEnum<K, V> {
 public:
  bool HasCurrent() const override { return current_ != &map_->order_; }
  MapEntry<K, V>* Advance() override {
    if (!HasCurrent()) return nullptr;
    detail::Link* left = current_;
    current_ = left->next;
    return &static_cast<detail::MapNode<K, V>*>(left)->value;
  }
  MapEntry<K, V>* Current() const override {
    return HasCurrent() ? &static_cast<detail::MapNode<K, V>*>(current_)->value : nullptr;
  }
  void Release() override { delete this; }
  void Reset() override { current_ = map_->order_.next; }

 private:
  friend class Map<K, V>;
  explicit Enum(Map<K, V>* map) noexcept : map_(map), current_(map->order_.next) {}
  ~Enum() override = default;

  Map<K, V>* map_;
  detail::Link* current_;
};

template <class K, class V>
class ConstEnum final : public IConstEnum<K, V> {
 public:
  bool HasCurrent() const override { return current_ != &map_->order_; }
  const MapEntry<K, V>* Advance() override {
    if (!HasCurrent()) return nullptr;
    const detail::Link* left = current_;
    current_ = left->next;
    return &static_cast<const detail::MapNode<K, V>*>(left)->value;
  }
  const MapEntry<K, V>* Current() const override {
    return HasCurrent() ? &static_cast<const detail::MapNode<K, V>*>(current_)->value : nullptr;
  }
  void Release() override { delete this; }
  void Reset() override { current_ = map_->order_.next; }

 private:
  friend class Map<K, V>;
  explicit ConstEnum(const Map<K, V>* map) noexcept : map_(map), current_(map->order_.next) {}
  ~ConstEnum() override = default;

  const Map<K, V>* map_;
  const detail::Link* current_;
};

// Enumerators refer to the map and to a node: moving or destroying the map, or
// removing their node by another way than RemoveAt with that very enumerator,
// invalidates them. Inserting does not.
template <class K, class V>
class Map final : public IMap<K, V> {
  using Node = detail::MapNode<K, V>;
  using KeyTraits = MapKeyTraits<K>;

 public:
  using iterator = detail::LinkIterator<Node, MapEntry<K, V>>;
  using const_iterator = detail::LinkIterator<Node, const MapEntry<K, V>>;

  Map() noexcept { order_.next = order_.prev = &order_; }
  Map(const Map& other) : Map() {
    if (other.count_ == 0) return;
    Rehash(BucketsFor(other.count_));
    for (const detail::Link* link = other.order_.next; link != &other.order_; link = link->next) {
      const Node* node = static_cast<const Node*>(link);
      AddNode(new Node(node->value.key, node->value.value, node->hash));
    }
  }
  Map(Map&& other) noexcept : Map() { TakeFrom(other); }
  Map& operator=(const Map& other) {
    if (this != &other) {
      Map copy(other);
      Swap(copy);
    }
    return *this;
  }
  Map& operator=(Map&& other) noexcept {
    if (this != &other) {
      Clear();
      TakeFrom(other);
    }
    return *this;
  }
  ~Map() override { Clear(); }

  uint32_t Insert(const K& key, const V& value) override {
    const size_t hash = KeyTraits::Hash(key);
    if (Lookup(key, hash) != nullptr) return container_result::kAlreadyExists;
    if (count_ >= bucket_count_) Rehash(bucket_count_ != 0 ? bucket_count_ * 2 : kMinBuckets);
    AddNode(new Node(key, value, hash));
    return container_result::kOk;
  }
  V* Find(const K& key) override {
    Node* node = Lookup(key, KeyTraits::Hash(key));
    return node != nullptr ? &node->value.value : nullptr;
  }
  const V* FindConst(const K& key) const override {
    const Node* node = Lookup(key, KeyTraits::Hash(key));
    return node != nullptr ? &node->value.value : nullptr;
  }
  uint32_t CopyValue(const K& key, V& out) const override {
    const Node* node = Lookup(key, KeyTraits::Hash(key));
    if (node == nullptr) return container_result::kNotFound;
    out = node->value.value;
    return container_result::kOk;
  }
  void RemoveAt(IEnum<K, V>* position) override {
    if (position == nullptr) return;
    // Only enumerators made by NewEnum exist for this interface.
    Enum<K, V>* e = static_cast<Enum<K, V>*>(position);
    if (e->map_ != this || e->current_ == &order_) return;
    Node* node = static_cast<Node*>(e->current_);
    e->current_ = node->next;
    RemoveNode(node);
  }
  uint32_t Remove(const K& key) override {
    Node* node = Lookup(key, KeyTraits::Hash(key));
    if (node == nullptr) return container_result::kNotFound;
    RemoveNode(node);
    return container_result::kOk;
  }
  IEnum<K, V>* NewEnum() override { return new (std::nothrow) Enum<K, V>(this); }
  IConstEnum<K, V>* NewConstEnum() const override {
    return new (std::nothrow) ConstEnum<K, V>(this);
  }
  void RemoveAll() override {
    DeleteNodes();
    if (buckets_ != nullptr) std::memset(buckets_, 0, bucket_count_ * sizeof(Node*));
  }
  uint64_t Count() const override { return count_; }

  // Non-virtual conveniences for this side of the boundary.
  bool Contains(const K& key) const { return Lookup(key, KeyTraits::Hash(key)) != nullptr; }
  bool IsEmpty() const noexcept { return count_ == 0; }
  void Swap(Map& other) noexcept {
    Map tmp;
    tmp.TakeFrom(other);
    other.TakeFrom(*this);
    TakeFrom(tmp);
  }

  iterator begin() noexcept { return iterator(order_.next); }
  iterator end() noexcept { return iterator(&order_); }
  const_iterator begin() const noexcept { return const_iterator(order_.next); }
  const_iterator end() const noexcept { return const_iterator(&order_); }

 private:
  friend class Enum<K, V>;
  friend class ConstEnum<K, V>;

  static constexpr size_t kMinBuckets = 16;

  // Buckets stay a power of two, at least one per entry.
  static size_t BucketsFor(uint64_t count) noexcept {
    size_t buckets = kMinBuckets;
    while (buckets < count) buckets *= 2;
    return buckets;
  }
  size_t BucketOf(size_t hash) const noexcept {
    return (hash ^ (hash >> 16)) & (bucket_count_ - 1);
  }

  Node* Lookup(const K& key, size_t hash) const {
    if (buckets_ == nullptr) return nullptr;
    for (Node* node = buckets_[BucketOf(hash)]; node != nullptr; node = node->chain) {
      if (node->hash == hash && node->value.key == key) return node;
    }
    return nullptr;
  }

  // Links a node with a key not yet present; the bucket array has room.
  void AddNode(Node* node) noexcept {
    Node*& head = buckets_[BucketOf(node->hash)];
    node->chain = head;
    head = node;
    node->next = &order_;
    node->prev = order_.prev;
    order_.prev->next = node;
    order_.prev = node;
    ++count_;
  }

  void RemoveNode(Node* node) noexcept {
    Node** slot = &buckets_[BucketOf(node->hash)];
    while (*slot != node) slot = &(*slot)->chain;
    *slot = node->chain;
    node->prev->next = node->next;
    node->next->prev = node->prev;
    --count_;
    delete node;
  }

  void Rehash(size_t buckets) {
    Node** fresh = new Node*[buckets]();
    delete[] buckets_;
    buckets_ = fresh;
    bucket_count_ = buckets;
    for (detail::Link* link = order_.next; link != &order_; link = link->next) {
      Node* node = static_cast<Node*>(link);
      Node*& head = buckets_[BucketOf(node->hash)];
      node->chain = head;
      head = node;
    }
  }

  void DeleteNodes() noexcept {
    detail::Link* link = order_.next;
    while (link != &order_) {
      detail::Link* next = link->next;
      delete static_cast<Node*>(link);
      link = next;
    }
    order_.next = order_.prev = &order_;
    count_ = 0;
  }

  // Frees everything, buckets included.
  void Clear() noexcept {
    DeleteNodes();
    delete[] buckets_;
    buckets_ = nullptr;
    bucket_count_ = 0;
  }

  // Takes everything of `other` (this map must be cleared) and leaves it empty.
  void TakeFrom(Map& other) noexcept {
    buckets_ = other.buckets_;
    bucket_count_ = other.bucket_count_;
    count_ = other.count_;
    other.buckets_ = nullptr;
    other.bucket_count_ = 0;
    if (count_ != 0) {
      order_.next = other.order_.next;
      order_.prev = other.order_.prev;
      order_.next->prev = &order_;
      order_.prev->next = &order_;
    }
    other.order_.next = other.order_.prev = &other.order_;
    other.count_ = 0;
  }

  detail::Link order_;
  Node** buckets_ = nullptr;
  size_t bucket_count_ = 0;
  uint64_t count_ = 0;
};

}  // namespace kel
