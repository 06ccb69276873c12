// Any bytes as an input report, a control name or a command: decoding never reads past the
// report, and encoding keeps the report's fixed shape.
#include "FuzzCheck.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

using namespace ruvola;
using fuzzing::check;

namespace {

void decode(std::span<const std::uint8_t> bytes) {
    const auto input = PadProtocol::parse(bytes);
    if (bytes.size() > 10 && bytes.size() < PadProtocol::inputReportSize) {
        // The pad's reports are read into a zeroed 512-byte buffer; the tail must not matter.
        std::vector<std::uint8_t> padded(bytes.begin(), bytes.end());
        padded.resize(PadProtocol::inputReportSize, 0);
        check(PadProtocol::parse(padded) == input, "the zeroed tail changes nothing");
    }
    if (!input) {
        return;
    }
    const PadControl control = input->control();
    const auto& all = PadControl::all();
    check(std::find(all.begin(), all.end(), control) != all.end(), "the input is a pad control's");
    check(PadControl::fromConfigName(control.configName()) == control, "names read back");
    check(!input->description().empty(), "an input describes itself");
}

void encode(std::span<const std::uint8_t> bytes) {
    const std::size_t nameLength =
        bytes.empty() ? 0 : std::min<std::size_t>(bytes[0] % 16, bytes.size() - 1);
    const auto name = bytes.subspan(bytes.empty() ? 0 : 1, nameLength);
    const auto payload = bytes.subspan(bytes.empty() ? 0 : 1 + nameLength);
    const std::string_view nameText(reinterpret_cast<const char*>(name.data()), name.size());
    const auto report = PadProtocol::command(nameText, payload);
    check(report.size() == PadProtocol::outputReportSize, "a command fills one report");
    check(std::memcmp(report.data(), "CRT\0\0", 5) == 0, "a command starts with its prefix");
    check(std::equal(name.begin(), name.end(), report.begin() + 5), "the name follows the prefix");
    const std::size_t kept = std::min(payload.size(), report.size() - 5 - name.size());
    check(std::equal(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(kept),
                     report.begin() + 5 + static_cast<std::ptrdiff_t>(name.size())),
          "the payload follows the name");

    std::int32_t level = 0;
    if (!bytes.empty()) {
        std::memcpy(&level, bytes.data(), std::min(bytes.size(), sizeof level));
    }
    check(PadProtocol::brightness(level)[10] == std::clamp(level, 0, 100), "brightness clamps");
    check(PadProtocol::clearKey(level)[11] == std::clamp(level, 0, 255), "key index clamps");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    decode(bytes);
    (void)PadControl::fromConfigName(std::string_view(reinterpret_cast<const char*>(data), size));
    encode(bytes);
    return 0;
}
