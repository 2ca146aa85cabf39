// SPDX-License-Identifier: MIT
#include "tests/playback/storms/StormScript.h"

#include <numeric>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "tests/playback/storms/StormScene.h"

namespace sonrel_tests {

namespace {

/// A range of numbers, both ends included.
struct Range {
    int first = 0;
    int last = 0;
};

/// A word, the ranges of its numbers, and its weight in each profile.
struct Word {
    std::string_view name;
    std::array<Range, 3> numbers;
    std::array<int, STORM_PROFILES.size()> weights;
};

constexpr Range FRAMES = {-2, StormScene::FRAMES + 2};
constexpr Range SAMPLES = {-10, StormScene::FRAMES* StormScene::SAMPLES_A_FRAME + 10};
/// Speed, direction and completion callback of a run in one number; Storm.cpp takes it apart.
constexpr Range SETTINGS = {0, 7 * 3 * 4 - 1};

constexpr Word WORDS[] = {
    // word, numbers, weights: normal, flush, scrub, faults
    {"set_up", {{{0, 9}}}, {8, 4, 4, 10}},
    {"refresh", {{}}, {2, 0, 0, 2}},
    {"resize", {{{0, StormScene::FRAMES}, {0, 3}}}, {1, 0, 0, 1}},
    {"add_track", {{}}, {1, 0, 0, 0}},
    {"play_frame", {{FRAMES, SETTINGS}}, {10, 5, 3, 8}},
    {"play_sample", {{SAMPLES, SETTINGS}}, {6, 2, 1, 4}},
    {"skip", {{FRAMES}}, {8, 3, 2, 5}},
    {"single", {{FRAMES}}, {8, 0, 30, 5}},
    {"stop", {{}}, {8, 3, 2, 8}},
    {"flush", {{}}, {10, 30, 2, 10}},
    {"add_observer", {{{0, 3}}}, {2, 1, 1, 2}},
    {"remove_observer", {{{0, 3}}}, {2, 1, 1, 2}},
    {"mute", {{{0, 1}, {0, 1}}}, {3, 1, 1, 0}},
    {"level", {{{0, 1}, {-60, 12}}}, {3, 5, 1, 0}},
    {"effect", {{{0, 1}}}, {2, 0, 0, 0}},
    {"slow_mix", {{{-3, 3}}}, {1, 1, 0, 6}},
    {"drop_target", {{}}, {2, 0, 0, 2}},
    {"reset", {{}}, {1, 0, 0, 1}},
    {"new_engine", {{}}, {1, 0, 0, 1}},
    {"pace", {{{0, 5}}}, {0, 1, 0, 8}},
    {"refuse", {{{0, 3}, {0, 6}, {1, 4}}}, {0, 0, 0, 8}},
    {"wait", {{{0, 20}}}, {12, 8, 4, 10}},
};

int Pick(std::mt19937& random, Range range) {
    return range.first +
           static_cast<int>(random() % static_cast<unsigned int>(range.last - range.first + 1));
}

const Word& PickWord(std::mt19937& random, std::size_t profile) {
    const int sum =
        std::accumulate(std::begin(WORDS), std::end(WORDS), 0,
                        [&](int total, const Word& word) { return total + word.weights[profile]; });
    int at = Pick(random, {0, sum - 1});
    for (const Word& word : WORDS) {
        at -= word.weights[profile];
        if (at < 0) return word;
    }
    return WORDS[0];
}

}  // namespace

std::string NameOf(StormProfile profile) {
    constexpr const char* NAMES[] = {"normal", "flush", "scrub", "faults"};
    return NAMES[static_cast<std::size_t>(profile)];
}

StormScript MakeStormScript(StormProfile profile, unsigned int seed, int count) {
    std::mt19937 random(seed);
    StormScript script = {{"set_up", {}}};
    while (static_cast<int>(script.size()) < count) {
        const Word& word = PickWord(random, static_cast<std::size_t>(profile));
        StormCommand command = {std::string(word.name), {}};
        for (std::size_t i = 0; i < command.numbers.size(); ++i) {
            command.numbers[i] = Pick(random, word.numbers[i]);
        }
        script.push_back(command);
    }
    return script;
}

std::string TextOf(const StormCommand& command) {
    std::string text = command.word;
    for (const int number : command.numbers) text += " " + std::to_string(number);
    return text;
}

void WriteStormScript(std::ostream& stream, const StormScript& script) {
    for (const StormCommand& command : script) stream << TextOf(command) << '\n';
}

StormScript ReadStormScript(std::istream& stream) {
    StormScript script;
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        StormCommand command;
        words >> command.word;
        for (int& number : command.numbers) words >> number;
        if (!words) throw std::runtime_error("not a command of a storm: " + line);
        script.push_back(command);
    }
    return script;
}

}  // namespace sonrel_tests
