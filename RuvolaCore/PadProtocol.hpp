#pragma once

#include "PadInput.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

// Encoder and decoder of the pad's HID reports. Builds byte arrays and decodes input reports; the
// pad connection does the reading and writing, one output report per array.
namespace ruvola::PadProtocol {

using Report = std::vector<std::uint8_t>;

/// Vendor-defined usage page of the pad's command interface.
inline constexpr std::uint16_t usagePage = 0xFFA0;
/// Size of the buffer that receives one input report.
inline constexpr std::size_t inputReportSize = 512;
/// Size of every output report, command or image chunk.
inline constexpr std::size_t outputReportSize = 1024;
/// Period of the keepalive report.
inline constexpr std::chrono::milliseconds keepaliveInterval{10'000};
/// Edge, in pixels, of the square image on one screen key.
inline constexpr int keyImageSize = 64;

/// A 1024-byte command report: "CRT" 0x00 0x00, the mnemonic, the payload, zeros. Bytes that would
/// run past the end of the report are dropped.
Report command(std::string_view name, std::span<const std::uint8_t> payload = {});

/// Backlight level in percent, clamped to 0..100.
Report brightness(int level);
/// Blanks one screen key; the index is clamped to 0..255.
Report clearKey(int index);

/// Start, brightness zero then `level` (clamped), blank every key, refresh.
std::vector<Report> startup(int level);
/// Blank the keys for closing, then halt.
const std::vector<Report>& shutdown();
/// Tells the pad the host is still attached; send every `keepaliveInterval`.
const Report& keepalive();
/// Shows what was drawn or cleared since the last refresh.
const Report& refresh();

/// The "BAT" header (JPEG length, key index) followed by the JPEG in 1024-byte chunks, the last one
/// zero-padded. An index outside 0..255 is a programming error and aborts.
std::vector<Report> keyImage(int index, std::span<const std::uint8_t> jpeg);

/// Decodes one input report; nothing for short reports, foreign prefixes and unknown codes.
std::optional<PadInput> parse(std::span<const std::uint8_t> report);

} // namespace ruvola::PadProtocol
