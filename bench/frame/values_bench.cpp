// Each kel type next to the standard container it stands in for, on the same
// work, so the pairs can be read as ratios.
#include <benchmark/benchmark.h>

#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/list.h"
#include "frame/map.h"
#include "frame/string.h"

namespace {

std::wstring Text(size_t length) { return std::wstring(length, L'x'); }

// Assigning into a string that already has its buffer.
void BM_StringT_Assign(benchmark::State& state) {
  const std::wstring source = Text(static_cast<size_t>(state.range(0)));
  kel::StringW target(source);
  for (auto _ : state) {
    target.Assign(source.c_str(), source.size());
    benchmark::DoNotOptimize(target.c_str());
  }
}
void BM_WString_Assign(benchmark::State& state) {
  const std::wstring source = Text(static_cast<size_t>(state.range(0)));
  std::wstring target = source;
  for (auto _ : state) {
    target.assign(source.c_str(), source.size());
    benchmark::DoNotOptimize(target.c_str());
  }
}
BENCHMARK(BM_StringT_Assign)->Arg(8)->Arg(64)->Arg(1024);
BENCHMARK(BM_WString_Assign)->Arg(8)->Arg(64)->Arg(1024);

// A fresh string per iteration: construction from text, then destruction.
void BM_StringT_Construct(benchmark::State& state) {
  const std::wstring source = Text(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    kel::StringW s(source.c_str(), source.size());
    benchmark::DoNotOptimize(s.RawPointer());
  }
}
void BM_WString_Construct(benchmark::State& state) {
  const std::wstring source = Text(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    std::wstring s(source.c_str(), source.size());
    benchmark::DoNotOptimize(s.data());
  }
}
BENCHMARK(BM_StringT_Construct)->Arg(8)->Arg(64)->Arg(1024);
BENCHMARK(BM_WString_Construct)->Arg(8)->Arg(64)->Arg(1024);

// Growth: one character at a time from nothing.
void BM_StringT_Grow(benchmark::State& state) {
  const int64_t n = state.range(0);
  for (auto _ : state) {
    kel::StringW s;
    for (int64_t i = 0; i < n; ++i) s.AppendChar(L'x');
    benchmark::DoNotOptimize(s.RawPointer());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
void BM_WString_Grow(benchmark::State& state) {
  const int64_t n = state.range(0);
  for (auto _ : state) {
    std::wstring s;
    for (int64_t i = 0; i < n; ++i) s.push_back(L'x');
    benchmark::DoNotOptimize(s.data());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_StringT_Grow)->Arg(100)->Arg(10000);
BENCHMARK(BM_WString_Grow)->Arg(100)->Arg(10000);

// Growth in chunks of 16 characters.
void BM_StringT_AppendChunks(benchmark::State& state) {
  const int64_t n = state.range(0);
  const std::wstring chunk = Text(16);
  for (auto _ : state) {
    kel::StringW s;
    for (int64_t i = 0; i < n; ++i) s.Append(chunk.c_str(), chunk.size());
    benchmark::DoNotOptimize(s.RawPointer());
  }
}
void BM_WString_AppendChunks(benchmark::State& state) {
  const int64_t n = state.range(0);
  const std::wstring chunk = Text(16);
  for (auto _ : state) {
    std::wstring s;
    for (int64_t i = 0; i < n; ++i) s.append(chunk.c_str(), chunk.size());
    benchmark::DoNotOptimize(s.data());
  }
}
BENCHMARK(BM_StringT_AppendChunks)->Arg(1000);
BENCHMARK(BM_WString_AppendChunks)->Arg(1000);

constexpr int64_t kElements = 1000;

void BM_KelList_Append(benchmark::State& state) {
  for (auto _ : state) {
    kel::List<int> list;
    for (int i = 0; i < kElements; ++i) list.AddBack(i);
    benchmark::DoNotOptimize(list.Count());
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
void BM_StdList_Append(benchmark::State& state) {
  for (auto _ : state) {
    std::list<int> list;
    for (int i = 0; i < kElements; ++i) list.push_back(i);
    benchmark::DoNotOptimize(list.size());
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_KelList_Append);
BENCHMARK(BM_StdList_Append);

// Through the interface, the way the plug-ins enumerate.
void BM_KelList_EnumerateInterface(benchmark::State& state) {
  kel::List<int> list;
  for (int i = 0; i < kElements; ++i) list.AddBack(i);
  const kel::IList<int>& iface = list;
  for (auto _ : state) {
    int64_t sum = 0;
    kel::EnumPtr<kel::IConstListEnum<int>> e(iface.NewConstEnum());
    while (e->HasCurrent()) sum += *e->Advance();
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
void BM_KelList_EnumerateRangeFor(benchmark::State& state) {
  kel::List<int> list;
  for (int i = 0; i < kElements; ++i) list.AddBack(i);
  for (auto _ : state) {
    int64_t sum = 0;
    for (int v : list) sum += v;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
void BM_StdList_Enumerate(benchmark::State& state) {
  std::list<int> list;
  for (int i = 0; i < kElements; ++i) list.push_back(i);
  for (auto _ : state) {
    int64_t sum = 0;
    for (int v : list) sum += v;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_KelList_EnumerateInterface);
BENCHMARK(BM_KelList_EnumerateRangeFor);
BENCHMARK(BM_StdList_Enumerate);

template <class Key>
std::vector<Key> Keys() {
  std::vector<Key> keys;
  for (int i = 0; i < kElements; ++i) keys.emplace_back(L"policy.key." + std::to_wstring(i));
  return keys;
}

void BM_KelMap_Insert(benchmark::State& state) {
  const std::vector<kel::StringW> keys = Keys<kel::StringW>();
  for (auto _ : state) {
    kel::Map<kel::StringW, int> map;
    for (int i = 0; i < kElements; ++i) map.Insert(keys[i], i);
    benchmark::DoNotOptimize(map.Count());
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
void BM_StdUnorderedMap_Insert(benchmark::State& state) {
  const std::vector<std::wstring> keys = Keys<std::wstring>();
  for (auto _ : state) {
    std::unordered_map<std::wstring, int> map;
    for (int i = 0; i < kElements; ++i) map.emplace(keys[i], i);
    benchmark::DoNotOptimize(map.size());
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_KelMap_Insert);
BENCHMARK(BM_StdUnorderedMap_Insert);

void BM_KelMap_Find(benchmark::State& state) {
  const std::vector<kel::StringW> keys = Keys<kel::StringW>();
  kel::Map<kel::StringW, int> map;
  for (int i = 0; i < kElements; ++i) map.Insert(keys[i], i);
  for (auto _ : state) {
    int64_t sum = 0;
    for (const kel::StringW& key : keys) sum += *map.FindConst(key);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
void BM_StdUnorderedMap_Find(benchmark::State& state) {
  const std::vector<std::wstring> keys = Keys<std::wstring>();
  std::unordered_map<std::wstring, int> map;
  for (int i = 0; i < kElements; ++i) map.emplace(keys[i], i);
  for (auto _ : state) {
    int64_t sum = 0;
    for (const std::wstring& key : keys) sum += map.find(key)->second;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_KelMap_Find);
BENCHMARK(BM_StdUnorderedMap_Find);

}  // namespace
