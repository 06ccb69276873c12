// Hostile and malformed input must give a result or a problem: no crash, no escaping exception.
// Run under the sanitizers, these also catch undefined behaviour.
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/KeySpec.hpp"
#include "RuvolaCore/PadProtocol.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <random>

namespace ruvola {
namespace {

using namespace std::string_literals;

// Random bytes and mutations of the starter give a result or a problem; keystroke texts built
// from tricky pieces give well-formed triggers.
TEST(Robustness, SurvivesRandomBytesAndMutations) {
    const std::string pieces[] = {"a", "cmd ", "b",    "\u2318", ",",      " ",   "\t",  "+",
                                  "-", "\xFF", "\xE2", "\u0301", "\u200D", "meh", "\0"s, "\u00A0"};
    const std::string starter(starterBindings::text());
    std::mt19937 random(20261121);
    for (int round = 0; round < 4000; ++round) {
        std::string noise, spec, mutated = starter;
        for (auto n = random() % 64; n > 0; --n) {
            noise += static_cast<char>(random());
        }
        for (auto n = random() % 10; n > 0; --n) {
            spec += pieces[random() % std::size(pieces)];
        }
        for (int edits = 0; edits < 4; ++edits) {
            mutated[random() % mutated.size()] = static_cast<char>(random());
        }
        EXPECT_NO_THROW(BindingsFile::parse(noise));
        EXPECT_NO_THROW(BindingsFile::parse(mutated));
        EXPECT_NO_THROW(PadProtocol::parse(std::vector<std::uint8_t>(noise.begin(), noise.end())));
        const auto result = KeySpec::parse(spec);
        if (const auto* tap = result.ok() ? result->as<Trigger::DoubleTap>() : nullptr) {
            EXPECT_TRUE(std::has_single_bit(tap->modifier)) << spec;
        }
        if (const auto* chords = result.ok() ? result->as<std::vector<Chord>>() : nullptr) {
            const auto commas = std::count(spec.begin(), spec.end(), ',');
            EXPECT_EQ(chords->size(), static_cast<std::size_t>(commas) + 1) << spec;
        }
    }
    std::string longSpec = "\u2325a";
    for (int i = 0; i < 50'000; ++i) {
        longSpec += ", cmd \u2318\u2318a";
    }
    EXPECT_EQ(KeySpec::parse(longSpec)->as<std::vector<Chord>>()->size(), 50'001u);
    EXPECT_EQ(KeySpec::parse(std::string(10'000, ',')).error().kind, KeySpecError::Kind::emptyStep);
}

} // namespace
} // namespace ruvola
