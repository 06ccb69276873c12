#include "RuvolaCore/PadProtocol.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ruvola {
namespace {

using PadProtocol::Report;
using Bytes = std::vector<std::uint8_t>;

// "CRT" 0x00 0x00, the mnemonic, the payload, zeros up to 1024 bytes.
Report framed(std::string_view mnemonic, const Bytes& payload = {}) {
    Report report(1024, 0x00);
    std::size_t at = 0;
    for (const char c : std::string("CRT\0\0", 5) + std::string(mnemonic)) {
        report[at++] = static_cast<std::uint8_t>(c);
    }
    for (const std::uint8_t byte : payload) {
        report[at++] = byte;
    }
    return report;
}

TEST(PadProtocol, CommandReportsCarryTheirExactBytes) {
    const struct {
        const char* what;
        Report actual;
        Report expected;
    } cases[] = {
        {"brightness -5", PadProtocol::brightness(-5), framed("LIG", {0, 0, 0})},
        {"brightness 0", PadProtocol::brightness(0), framed("LIG", {0, 0, 0})},
        {"brightness 1", PadProtocol::brightness(1), framed("LIG", {0, 0, 1})},
        {"brightness 100", PadProtocol::brightness(100), framed("LIG", {0, 0, 100})},
        {"brightness 250", PadProtocol::brightness(250), framed("LIG", {0, 0, 100})},
        {"clear -1", PadProtocol::clearKey(-1), framed("CLE", {0, 0, 0, 0})},
        {"clear 3", PadProtocol::clearKey(3), framed("CLE", {0, 0, 0, 3})},
        {"clear 255", PadProtocol::clearKey(255), framed("CLE", {0, 0, 0, 255})},
        {"clear 300", PadProtocol::clearKey(300), framed("CLE", {0, 0, 0, 255})},
        {"keepalive", PadProtocol::keepalive(), framed("CONNECT")},
        {"refresh", PadProtocol::refresh(), framed("STP")},
        {"general", PadProtocol::command("XYZ", Bytes{1, 2}), framed("XYZ", {1, 2})},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.actual, c.expected) << c.what;
    }
}

TEST(PadProtocol, OversizedCommandIsCutToOneReport) {
    const Bytes payload(2000, 0x7F);
    const Report report = PadProtocol::command("ABC", payload);
    ASSERT_EQ(report.size(), 1024u);
    EXPECT_EQ(report[7], 'C');
    EXPECT_EQ(report[8], 0x7F);
    EXPECT_EQ(report[1023], 0x7F);
}

TEST(PadProtocol, StartupAndShutdownSequences) {
    const std::vector<Report> startup{
        framed("DIS"),
        framed("LIG", {0, 0, 0}),
        framed("LIG", {0, 0, 100}),
        framed("CLE", {0, 0, 0, 0xFF}),
        framed("STP"),
    };
    EXPECT_EQ(PadProtocol::startup(250), startup);
    EXPECT_EQ(PadProtocol::startup(40)[2], framed("LIG", {0, 0, 40}));

    const std::vector<Report> shutdown{framed("CLE", {0, 0, 0x44, 0x43}), framed("HAN")};
    EXPECT_EQ(PadProtocol::shutdown(), shutdown);
}

TEST(PadProtocol, FixedReportsAreBuiltOnce) {
    EXPECT_EQ(&PadProtocol::keepalive(), &PadProtocol::keepalive());
    EXPECT_EQ(&PadProtocol::refresh(), &PadProtocol::refresh());
    EXPECT_EQ(&PadProtocol::shutdown(), &PadProtocol::shutdown());
}

TEST(PadProtocol, KeyImageIsAHeaderThenPaddedChunks) {
    const struct {
        std::size_t size;
        std::size_t chunks;
        Bytes lengthBytes;
    } cases[] = {
        {0, 0, {0, 0, 0, 0}},          {1, 1, {0, 0, 0, 1}},
        {1024, 1, {0, 0, 0x04, 0x00}}, {1025, 2, {0, 0, 0x04, 0x01}},
        {1500, 2, {0, 0, 0x05, 0xDC}}, {70000, 69, {0, 0x01, 0x11, 0x70}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        Bytes jpeg(c.size);
        for (std::size_t i = 0; i < jpeg.size(); ++i) {
            jpeg[i] = static_cast<std::uint8_t>(i * 7 + 3);
        }
        const auto reports = PadProtocol::keyImage(3, jpeg);
        ASSERT_EQ(reports.size(), 1 + c.chunks);

        Bytes header = c.lengthBytes;
        header.push_back(3);
        EXPECT_EQ(reports[0], framed("BAT", header));

        Bytes data;
        for (std::size_t i = 1; i < reports.size(); ++i) {
            ASSERT_EQ(reports[i].size(), 1024u);
            data.insert(data.end(), reports[i].begin(), reports[i].end());
        }
        Bytes expected = jpeg;
        expected.resize(c.chunks * 1024, 0x00);
        EXPECT_EQ(data, expected);
    }
}

TEST(PadProtocol, KeyImageIndexOutsideAByteAborts) {
    EXPECT_EQ(PadProtocol::keyImage(0, {})[0][12], 0);
    EXPECT_EQ(PadProtocol::keyImage(255, {})[0][12], 255);
    EXPECT_DEATH(PadProtocol::keyImage(-1, {}), "");
    EXPECT_DEATH(PadProtocol::keyImage(256, {}), "");
}

Bytes inputReport(std::uint8_t code, std::uint8_t state, std::size_t size = 11) {
    Bytes report{'A', 'C', 'K', 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, code, state};
    report.resize(size, 0xEE);
    return report;
}

TEST(PadProtocol, ParseDecodesEveryCodeAndNothingElse) {
    const struct {
        std::uint8_t code;
        PadInput pressed;
        PadInput released;
    } known[] = {
        {0x01, PadInput::key(1, true), PadInput::key(1, false)},
        {0x02, PadInput::key(2, true), PadInput::key(2, false)},
        {0x03, PadInput::key(3, true), PadInput::key(3, false)},
        {0x04, PadInput::key(4, true), PadInput::key(4, false)},
        {0x05, PadInput::key(5, true), PadInput::key(5, false)},
        {0x06, PadInput::key(6, true), PadInput::key(6, false)},
        {0x25, PadInput::button(1, true), PadInput::button(1, false)},
        {0x30, PadInput::button(2, true), PadInput::button(2, false)},
        {0x31, PadInput::button(3, true), PadInput::button(3, false)},
        {0x33, PadInput::knobPress(Knob::left, true), PadInput::knobPress(Knob::left, false)},
        {0x35, PadInput::knobPress(Knob::middle, true), PadInput::knobPress(Knob::middle, false)},
        {0x34, PadInput::knobPress(Knob::right, true), PadInput::knobPress(Knob::right, false)},
        {0x90, PadInput::knobTurn(Knob::left, -1), PadInput::knobTurn(Knob::left, -1)},
        {0x91, PadInput::knobTurn(Knob::left, 1), PadInput::knobTurn(Knob::left, 1)},
        {0x50, PadInput::knobTurn(Knob::middle, -1), PadInput::knobTurn(Knob::middle, -1)},
        {0x51, PadInput::knobTurn(Knob::middle, 1), PadInput::knobTurn(Knob::middle, 1)},
        {0x60, PadInput::knobTurn(Knob::right, -1), PadInput::knobTurn(Knob::right, -1)},
        {0x61, PadInput::knobTurn(Knob::right, 1), PadInput::knobTurn(Knob::right, 1)},
    };
    for (int code = 0; code < 256; ++code) {
        const auto byte = static_cast<std::uint8_t>(code);
        const auto* entry = std::find_if(std::begin(known), std::end(known),
                                         [byte](const auto& k) { return k.code == byte; });
        for (const int state : {0x00, 0x01, 0xFF}) {
            SCOPED_TRACE(testing::Message() << "code " << code << " state " << state);
            std::optional<PadInput> expected;
            if (entry != std::end(known)) {
                expected = state != 0 ? entry->pressed : entry->released;
            }
            const auto stateByte = static_cast<std::uint8_t>(state);
            EXPECT_EQ(PadProtocol::parse(inputReport(byte, stateByte)), expected);
            EXPECT_EQ(PadProtocol::parse(inputReport(byte, stateByte, 512)), expected);
        }
    }
}

TEST(PadProtocol, ParseIgnoresShortAndForeignReports) {
    EXPECT_EQ(PadProtocol::parse(inputReport(0x25, 0x00)), PadInput::button(1, false));

    Bytes tenBytes = inputReport(0x01, 0x01);
    tenBytes.pop_back();
    Bytes foreign = inputReport(0x01, 0x01);
    foreign[2] = 'X';
    Bytes lowerCase = inputReport(0x01, 0x01);
    lowerCase[0] = 'a';
    for (const Bytes& report : {Bytes{}, Bytes{'A', 'C', 'K'}, tenBytes, foreign, lowerCase}) {
        EXPECT_EQ(PadProtocol::parse(report), std::nullopt) << report.size();
    }
}

} // namespace
} // namespace ruvola
