#include "PadProtocol.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <initializer_list>

namespace ruvola::PadProtocol {
namespace {

constexpr std::array<std::uint8_t, 5> commandPrefix{'C', 'R', 'T', 0x00, 0x00};
constexpr std::array<std::uint8_t, 3> inputPrefix{'A', 'C', 'K'};
constexpr std::size_t codeOffset = 9;
constexpr std::size_t stateOffset = 10;

// Every key on the pad at once, for the clear that starts a session.
constexpr std::uint8_t allKeys = 0xFF;

Report command(std::string_view name, std::initializer_list<std::uint8_t> payload) {
    return PadProtocol::command(name, std::span(payload.begin(), payload.size()));
}

std::uint8_t clampedByte(int value, int highest) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, highest));
}

} // namespace

Report command(std::string_view name, std::span<const std::uint8_t> payload) {
    Report report(outputReportSize, 0);
    std::size_t at = 0;
    const auto append = [&](const auto& bytes) {
        const std::size_t count = std::min(bytes.size(), report.size() - at);
        for (std::size_t i = 0; i < count; ++i) {
            report[at++] = static_cast<std::uint8_t>(bytes[i]);
        }
    };
    append(commandPrefix);
    append(name);
    append(payload);
    return report;
}

Report brightness(int level) {
    return command("LIG", {0x00, 0x00, clampedByte(level, 100)});
}

Report clearKey(int index) {
    return command("CLE", {0x00, 0x00, 0x00, clampedByte(index, 255)});
}

std::vector<Report> startup(int level) {
    // Brightness zero before the wanted level is deliberate; keep both reports.
    std::vector<Report> reports;
    reports.reserve(5);
    reports.push_back(command("DIS"));
    reports.push_back(brightness(0));
    reports.push_back(brightness(level));
    reports.push_back(command("CLE", {0x00, 0x00, 0x00, allKeys}));
    reports.push_back(refresh());
    return reports;
}

const std::vector<Report>& shutdown() {
    static const std::vector<Report> reports{command("CLE", {0x00, 0x00, 'D', 'C'}),
                                             command("HAN")};
    return reports;
}

const Report& keepalive() {
    static const Report report = command("CONNECT");
    return report;
}

const Report& refresh() {
    static const Report report = command("STP");
    return report;
}

std::vector<Report> keyImage(int index, std::span<const std::uint8_t> jpeg) {
    if (index < 0 || index > 255) {
        std::abort();
    }
    const auto length = static_cast<std::uint32_t>(jpeg.size());
    const auto byte = [length](int shift) { return static_cast<std::uint8_t>(length >> shift); };

    std::vector<Report> reports;
    reports.reserve(1 + (jpeg.size() + outputReportSize - 1) / outputReportSize);
    reports.push_back(
        command("BAT", {byte(24), byte(16), byte(8), byte(0), static_cast<std::uint8_t>(index)}));
    for (std::size_t offset = 0; offset < jpeg.size(); offset += outputReportSize) {
        const auto chunk = jpeg.subspan(offset, std::min(outputReportSize, jpeg.size() - offset));
        if (chunk.size() == outputReportSize) {
            reports.emplace_back(chunk.begin(), chunk.end());
        } else {
            Report& last = reports.emplace_back(outputReportSize, 0);
            std::copy(chunk.begin(), chunk.end(), last.begin());
        }
    }
    return reports;
}

std::optional<PadInput> parse(std::span<const std::uint8_t> report) {
    if (report.size() <= stateOffset ||
        !std::equal(inputPrefix.begin(), inputPrefix.end(), report.begin())) {
        return std::nullopt;
    }
    const std::uint8_t code = report[codeOffset];
    const bool pressed = report[stateOffset] != 0;
    switch (code) {
    case 0x01:
    case 0x02:
    case 0x03:
    case 0x04:
    case 0x05:
    case 0x06:
        return PadInput::key(code, pressed);
    case 0x25:
        return PadInput::button(1, pressed);
    case 0x30:
        return PadInput::button(2, pressed);
    case 0x31:
        return PadInput::button(3, pressed);
    // The middle knob presses as 0x35 and the right as 0x34: not in knob order.
    case 0x33:
        return PadInput::knobPress(Knob::left, pressed);
    case 0x35:
        return PadInput::knobPress(Knob::middle, pressed);
    case 0x34:
        return PadInput::knobPress(Knob::right, pressed);
    case 0x90:
        return PadInput::knobTurn(Knob::left, -1);
    case 0x91:
        return PadInput::knobTurn(Knob::left, +1);
    case 0x50:
        return PadInput::knobTurn(Knob::middle, -1);
    case 0x51:
        return PadInput::knobTurn(Knob::middle, +1);
    case 0x60:
        return PadInput::knobTurn(Knob::right, -1);
    case 0x61:
        return PadInput::knobTurn(Knob::right, +1);
    default:
        return std::nullopt;
    }
}

} // namespace ruvola::PadProtocol
