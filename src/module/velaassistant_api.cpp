#include "module/velaassistant_api.h"

namespace {
vela::module::CJxVelaAssistantAPI* g_assistantApi = nullptr;
vela::module::CJxElectricalAssistantAPI* g_electricalApi = nullptr;
}  // namespace

extern "C" {
vela::module::CJxVelaAssistantAPI* GetJxVelaAssistantAPI() { return g_assistantApi; }
void SetJxVelaAssistantAPI(vela::module::CJxVelaAssistantAPI* api) { g_assistantApi = api; }
vela::module::CJxElectricalAssistantAPI* GetJxElectricalAssistantAPI() { return g_electricalApi; }
void SetJxElectricalAssistantAPI(vela::module::CJxElectricalAssistantAPI* api) { g_electricalApi = api; }
}
