// How fast a tool's output is cut into lines and read: a streaming answer
// arrives as thousands of small events, and a flood must not stall the main
// thread that reads it.
#include <benchmark/benchmark.h>

#include <QByteArray>

#include "assistants/agent_stream.h"

namespace {

using vells::assistants::AgentStream;
using vells::assistants::AITool;

// A streamed answer of `events` text pieces, as Claude Code writes it.
QByteArray claudeStream(int events) {
  QByteArray stream;
  for (int i = 0; i < events; ++i) {
    stream +=
        R"({"type":"stream_event","event":{"delta":{"type":"text_delta","text":"Kürzer, klarer )"
        R"(Titel für die Seite "})"
        "\n";
  }
  stream += R"({"type":"result","result":"done","is_error":false})"
            "\n";
  return stream;
}

// Reads `stream` in blocks of `block` bytes, as the pipe hands them over.
void feed(benchmark::State& state, const QByteArray& stream, qsizetype block) {
  for (auto _ : state) {
    AgentStream parser(AITool::claude);
    qsizetype pieces = 0;
    parser.onText = [&pieces](const QString&) { ++pieces; };
    for (qsizetype at = 0; at < stream.size(); at += block) {
      parser.consume(QByteArrayView(stream).sliced(at, std::min(block, stream.size() - at)));
    }
    benchmark::DoNotOptimize(pieces);
  }
  state.SetBytesProcessed(state.iterations() * stream.size());
}

void BM_StreamedAnswer(benchmark::State& state) {
  const QByteArray stream = claudeStream(10000);
  feed(state, stream, state.range(0));
  state.counters["events/s"] = benchmark::Counter(10001.0 * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}
BENCHMARK(BM_StreamedAnswer)->Arg(64)->Arg(4096)->Arg(65536)->Unit(benchmark::kMillisecond);

// 64 MiB with no line feed: dropped at the bound, never held whole.
void BM_FloodWithoutLineFeeds(benchmark::State& state) {
  const QByteArray stream(qsizetype{64} * 1024 * 1024, 'x');
  feed(state, stream, 65536);
}
BENCHMARK(BM_FloodWithoutLineFeeds)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
