// Goal: a small IPC message (request or reply) encodes and decodes in well
// under a microsecond or two, so that a no-op remote call costs little more
// than the socket round trip.
#include <benchmark/benchmark.h>

#include "platform/archive/PropertyList.h"

namespace {

using qrl::archive::PropertyList;
using qrl::archive::Value;

Value request() {
  return Value(Value::Dictionary{{"selector", Value("communicationLocked")},
                                 {"arguments", Value(Value::Array{})}});
}

Value reply() {
  return Value(Value::Dictionary{{"result", Value(false)}});
}

// A larger mixed dictionary, to see how the codec scales past tiny messages.
Value mixed() {
  Value::Array items;
  for (int i = 0; i < 64; ++i) {
    items.emplace_back(Value::Dictionary{{"index", Value(i)},
                                         {"name", Value("clip " + std::to_string(i))},
                                         {"rate", Value(29.97)},
                                         {"enabled", Value(i % 2 == 0)}});
  }
  return Value(Value::Dictionary{{"items", Value(std::move(items))}, {"title", Value("réel")}});
}

void encodeDecode(benchmark::State& state, const Value& v) {
  for (auto _ : state) {
    auto bytes = PropertyList::binaryData(v);
    benchmark::DoNotOptimize(PropertyList::parse(bytes));
  }
}

void BM_RequestEncodeDecode(benchmark::State& state) {
  encodeDecode(state, request());
}
BENCHMARK(BM_RequestEncodeDecode);

void BM_ReplyEncodeDecode(benchmark::State& state) {
  encodeDecode(state, reply());
}
BENCHMARK(BM_ReplyEncodeDecode);

void BM_RequestEncode(benchmark::State& state) {
  Value v = request();
  for (auto _ : state)
    benchmark::DoNotOptimize(PropertyList::binaryData(v));
}
BENCHMARK(BM_RequestEncode);

void BM_RequestDecode(benchmark::State& state) {
  auto bytes = PropertyList::binaryData(request());
  for (auto _ : state)
    benchmark::DoNotOptimize(PropertyList::parse(bytes));
}
BENCHMARK(BM_RequestDecode);

void BM_MixedEncodeDecode(benchmark::State& state) {
  encodeDecode(state, mixed());
}
BENCHMARK(BM_MixedEncodeDecode);

}  // namespace

BENCHMARK_MAIN();
