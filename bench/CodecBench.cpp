// Decoding and encoding of the command that moves the pointer: time and allocations.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/AllocationCount.h"
#include "remote/message/RemoteMessageCodec.h"

namespace tevanto {
namespace {

const std::string kLine =
    R"({"type":"command","token":"0A4E7C52-3A51-4D8C-9C1F-5B7C0E6C6F11","command":{"type":"movePointer","dx":3.5,"dy":-2.25}})";

void countAllocations(benchmark::State& state, std::size_t before) {
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(bench::allocationCount() - before),
                                                     benchmark::Counter::kAvgIterations);
}

void decodeCommand(benchmark::State& state) {
  const auto before = bench::allocationCount();
  for (auto _ : state) benchmark::DoNotOptimize(decodeRemoteMessage(kLine));
  countAllocations(state, before);
}
BENCHMARK(decodeCommand);

void encodeCommand(benchmark::State& state) {
  const auto message = decodeRemoteMessage(kLine);
  std::string out;
  const auto before = bench::allocationCount();
  for (auto _ : state) {
    out.clear();
    benchmark::DoNotOptimize(encodeRemoteMessage(*message, out));
  }
  countAllocations(state, before);
}
BENCHMARK(encodeCommand);

void encodeAck(benchmark::State& state) {
  RemoteMessage ack;
  ack.type = "ack";
  ack.ok = true;
  std::string out;
  const auto before = bench::allocationCount();
  for (auto _ : state) {
    out.clear();
    benchmark::DoNotOptimize(encodeRemoteMessage(ack, out));
  }
  countAllocations(state, before);
}
BENCHMARK(encodeAck);

}  // namespace
}  // namespace tevanto

BENCHMARK_MAIN();
