// The parts of the path that a datagram takes, one by one.

#include "Model/TimerEngine.h"
#include "Net/Command.h"
#include "Net/PeerFlows.h"
#include "Support/Preferences.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

class NoPreferences final : public Preferences {
public:
    [[nodiscard]] std::optional<QByteArray> data(const QString&) const override
    {
        return std::nullopt;
    }
    void setData(const QString&, const QByteArray&) override { }
    [[nodiscard]] std::optional<QString> text(const QString&) const override
    {
        return std::nullopt;
    }
    void setText(const QString&, const QString&) override { }
};

void parse(benchmark::State& state, QStringView line)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Command::parse(line));
}
BENCHMARK_CAPTURE(parse, keyword, u"STOPTIME");
BENCHMARK_CAPTURE(parse, number, u"GO 5");
BENCHMARK_CAPTURE(parse, message, u"MSG The doors are open, please come in");
BENCHMARK_CAPTURE(parse, accents, u"MSG Die T\u00FCren sind offen");
BENCHMARK_CAPTURE(parse, none, u"hello world");

void describe(benchmark::State& state)
{
    const Command command {Command::Go {2.5}};
    for (auto _ : state)
        benchmark::DoNotOptimize(command.description());
}
BENCHMARK(describe);

void tickWithoutChange(benchmark::State& state)
{
    NoPreferences preferences;
    AppSettings settings(preferences);
    TimerEngine engine(settings, [] { return Instant(); });
    engine.setSeconds = 300;
    engine.start(TimerEngine::RunOrigin::operatorRequest);
    for (auto _ : state)
        engine.tick();
}
BENCHMARK(tickWithoutChange);

DatagramPeer peerNumber(quint32 number)
{
    DatagramPeer peer;
    peer.address[15] = static_cast<quint8>(number >> 16);
    peer.port = number & 0xffff;
    return peer;
}

void findKnownPeer(benchmark::State& state)
{
    PeerFlows flows;
    const auto count = static_cast<quint32>(state.range(0));
    for (quint32 i = 0; i < count; ++i)
        flows.insert(peerNumber(i));
    quint32 next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(flows.insert(peerNumber(next)));
        next = (next + 7919) % count;
    }
}
BENCHMARK(findKnownPeer)->Arg(10)->Arg(1'000'000);

/// The slowest single insertion on the way to a million peers: the counter that must stay small.
void meetAMillionPeers(benchmark::State& state)
{
    using clock = std::chrono::steady_clock;
    for (auto _ : state) {
        PeerFlows flows;
        clock::duration worst {};
        for (quint32 i = 0; i < 1'000'000; ++i) {
            const auto start = clock::now();
            flows.insert(peerNumber(i));
            worst = std::max(worst, clock::now() - start);
        }
        state.counters["bytes_per_peer"] =
            static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd) / 1'000'000;
        state.counters["worst_ms"] = std::chrono::duration<double, std::milli>(worst).count();
    }
}
BENCHMARK(meetAMillionPeers)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
