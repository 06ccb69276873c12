// Any bytes as a bindings file: parsing never throws, and what the parsed file offers stays
// consistent with itself.
#include "FuzzCheck.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using namespace ruvola;
using fuzzing::check;

namespace {

bool isWebRequest(const PadAction& action) {
    return action.as<PadAction::Http>() || action.as<PadAction::Roku>() ||
           action.as<PadAction::HomeAssistant>() || action.as<PadAction::Ntfy>();
}

void exercise(const BindingsFile& file, const PadAction& action) {
    check(!action.description().empty(), "an action describes itself");
    const auto request = file.request(action, "Ruvola");
    if (!isWebRequest(action) || action.as<PadAction::Http>()) {
        check(request.ok() == (action.as<PadAction::Http>() != nullptr),
              "only web actions make requests, and an http action always does");
    }
    check(request.ok() ? !request->url.empty() : !request.error().description.empty(),
          "a request has an address, a refusal a reason");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const BindingsFile file = BindingsFile::parse(bytes);

    // One frontmost name taken from the file itself, so "when" bindings can win.
    std::vector<std::string> oneApp{"spotify"};
    for (const PadBinding& binding : file.bindings) {
        if (!binding.apps.empty()) {
            oneApp = {binding.apps.front()};
            break;
        }
    }
    std::vector<std::string> noApp;
    for (const PadControl& control : PadControl::all()) {
        for (const auto* frontmost : {&noApp, &oneApp}) {
            const PadBinding* chosen = file.binding(control, *frontmost);
            if (chosen == nullptr) {
                continue;
            }
            check(chosen >= file.bindings.data() &&
                      chosen < file.bindings.data() + file.bindings.size(),
                  "the chosen binding is one of the file's");
            check(chosen->control == control, "the chosen binding is the control's");
        }
    }
    for (const PadBinding& binding : file.bindings) {
        for (const auto* action : {&binding.press, &binding.turnLeft, &binding.turnRight}) {
            if (*action) {
                exercise(file, **action);
            }
        }
        for (const PadInput& input : {PadInput::key(1, true), PadInput::knobTurn(Knob::left, -1),
                                      PadInput::knobTurn(Knob::left, 1)}) {
            (void)binding.action(input);
        }
    }
    return 0;
}
