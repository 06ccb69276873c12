#include "Printers.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace ruvola {
namespace {

using PadProtocol::Report;
using Bytes = std::vector<std::uint8_t>;

// "CRT" 0x00 0x00, the mnemonic, the payload, zeros up to 1024 bytes.
Report framed(const std::string& mnemonic, const Bytes& payload = {}) {
    Report report(1024, 0);
    const std::string prefix("CRT\0\0", 5);
    std::copy(prefix.begin(), prefix.end(), report.begin());
    std::copy(mnemonic.begin(), mnemonic.end(), report.begin() + 5);
    std::copy(payload.begin(), payload.end(),
              report.begin() + 5 + static_cast<std::ptrdiff_t>(mnemonic.size()));
    return report;
}

TEST(PadProtocol, CommandReportsCarryTheirExactBytes) {
    const std::pair<Report, Report> cases[] = {
        {PadProtocol::brightness(37), framed("LIG", {0, 0, 37})},
        {PadProtocol::brightness(250), framed("LIG", {0, 0, 100})},
        {PadProtocol::clearKey(3), framed("CLE", {0, 0, 0, 3})},
        {PadProtocol::clearKey(300), framed("CLE", {0, 0, 0, 255})},
        {PadProtocol::keepalive(), framed("CONNECT")},
        {PadProtocol::refresh(), framed("STP")},
        {PadProtocol::command("ABC", Bytes(2000, 0x7F)), framed("ABC", Bytes(1016, 0x7F))},
    };
    for (const auto& [actual, expected] : cases) {
        EXPECT_EQ(actual, expected) << std::string(actual.begin() + 5, actual.begin() + 12);
    }
    const std::vector<Report> startup{framed("DIS"), framed("LIG", {0, 0, 0}),
                                      framed("LIG", {0, 0, 40}), framed("CLE", {0, 0, 0, 0xFF}),
                                      framed("STP")};
    EXPECT_EQ(PadProtocol::startup(40), startup);
    EXPECT_EQ(PadProtocol::shutdown(),
              (std::vector{framed("CLE", {0, 0, 'D', 'C'}), framed("HAN")}));
}

TEST(PadProtocol, KeyImageIsAHeaderThenPaddedChunks) {
    const std::tuple<std::size_t, std::size_t, Bytes> cases[] = {
        {1024, 1, {0, 0, 0x04, 0x00}},
        {1025, 2, {0, 0, 0x04, 0x01}},
        {70000, 69, {0, 0x01, 0x11, 0x70}},
    };
    for (auto [size, chunks, header] : cases) {
        Bytes jpeg(size);
        std::generate(jpeg.begin(), jpeg.end(), [n = 0]() mutable { return n++ * 7 + 3; });
        const auto reports = PadProtocol::keyImage(3, jpeg);
        header.push_back(3);
        ASSERT_EQ(reports.size(), 1 + chunks) << size;
        EXPECT_EQ(reports[0], framed("BAT", header)) << size;
        jpeg.resize(chunks * 1024, 0);
        for (std::size_t i = 0; i < chunks; ++i) {
            EXPECT_EQ(reports[1 + i], Bytes(&jpeg[i * 1024], &jpeg[i * 1024] + 1024)) << size;
        }
    }
    EXPECT_EQ(PadProtocol::keyImage(255, {})[0], framed("BAT", {0, 0, 0, 0, 255}));
}

Bytes inputReport(int code, int state, std::size_t size = 11) {
    Bytes report{'A', 'C', 'K', 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    report.push_back(static_cast<std::uint8_t>(code));
    report.push_back(static_cast<std::uint8_t>(state));
    report.resize(size, 0xEE);
    return report;
}

// The whole code table: every other code, a short report or a foreign prefix decodes to nothing.
TEST(PadProtocol, ParseDecodesEveryCodeAndNothingElse) {
    using I = PadInput;
    constexpr Knob L = Knob::left, M = Knob::middle, R = Knob::right;
    struct Entry {
        int code;
        PadInput pressed, released;
    };
    std::vector<Entry> known{
        {0x25, I::button(1, true), I::button(1, false)},
        {0x30, I::button(2, true), I::button(2, false)},
        {0x31, I::button(3, true), I::button(3, false)},
        {0x33, I::knobPress(L, true), I::knobPress(L, false)},
        {0x35, I::knobPress(M, true), I::knobPress(M, false)},
        {0x34, I::knobPress(R, true), I::knobPress(R, false)},
        {0x90, I::knobTurn(L, -1), I::knobTurn(L, -1)},
        {0x91, I::knobTurn(L, 1), I::knobTurn(L, 1)},
        {0x50, I::knobTurn(M, -1), I::knobTurn(M, -1)},
        {0x51, I::knobTurn(M, 1), I::knobTurn(M, 1)},
        {0x60, I::knobTurn(R, -1), I::knobTurn(R, -1)},
        {0x61, I::knobTurn(R, 1), I::knobTurn(R, 1)},
    };
    for (int key = 1; key <= 6; ++key) {
        known.push_back({key, I::key(key, true), I::key(key, false)});
    }
    for (int code = 0; code < 256; ++code) {
        const auto entry =
            std::find_if(known.begin(), known.end(), [&](auto& k) { return k.code == code; });
        for (const int state : {0x00, 0x01, 0xFF}) {
            std::optional<PadInput> expected;
            if (entry != known.end()) {
                expected = state != 0 ? entry->pressed : entry->released;
            }
            EXPECT_EQ(PadProtocol::parse(inputReport(code, state, 512)), expected) << code;
        }
    }
    for (std::size_t length = 0; length < 11; ++length) {
        EXPECT_EQ(PadProtocol::parse(inputReport(0x01, 0x01, length)), std::nullopt) << length;
    }
    for (const std::size_t at : {0u, 2u}) {
        Bytes foreign = inputReport(0x01, 0x01);
        foreign[at] ^= 0x20;
        EXPECT_EQ(PadProtocol::parse(foreign), std::nullopt) << at;
    }
    EXPECT_EQ(PadProtocol::parse(inputReport(0x01, 0x01)), PadInput::key(1, true));
}

} // namespace
} // namespace ruvola
