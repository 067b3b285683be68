// The cost of the trip a query makes: bridge slot -> request registry -> host command (prologue, JSON parse,
// body, epilogue) -> answer text, for a command whose body does almost nothing, against calling that body
// directly. Target on the reference machine: at most 20 microseconds of overhead per call.
#include <benchmark/benchmark.h>

#include <QJsonDocument>

#include "bridge/assistant_command.h"
#include "bridge/command_call.h"
#include "bridge/command_catalogue.h"
#include "bridge/velaassistant_communication.h"
#include "host/command_context.h"
#include "host/host.h"

namespace {

using namespace vela;

QJsonObject almostNothing(const QJsonDocument& request, host::CommandContext&) {
    QJsonObject response = bridge::MakeResult(true);
    response.insert(QStringLiteral("total"), request.object().size());
    return response;
}

const QString kRequest = QStringLiteral("{\"handles\":[\"2B7\",\"2B8\"]}");

void BM_SlotRoundTrip(benchmark::State& state) {
    host::Host host;
    host.capabilities().registerCapability(QStringLiteral("veladesk.v3.selectentities"));
    host.documents().createNew();
    bridge::AssistantCommand command(*bridge::FindByGlobalName(u"_V3_SUMMARIZEENTITIES"), &almostNothing);
    host.commands().addCommand(&command);
    bridge::CJxVelaAssistantCommunication bridge;
    for (auto _ : state) benchmark::DoNotOptimize(bridge.SummarizeEntities(kRequest));
    host.commands().removeCommand(&command);
}
BENCHMARK(BM_SlotRoundTrip)->Unit(benchmark::kMicrosecond);

// The same body called directly, with the parse and the answer text it needs anyway.
void BM_DirectBody(benchmark::State& state) {
    host::Host host;
    host::Document* doc = host.documents().createNew();
    for (auto _ : state) {
        host::UserIO io({}, host.services().userInput());
        host::CommandContext context(doc, io);
        const QJsonDocument request = QJsonDocument::fromJson(kRequest.toUtf8());
        benchmark::DoNotOptimize(bridge::ToCompactText(almostNothing(request, context)));
    }
}
BENCHMARK(BM_DirectBody)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
