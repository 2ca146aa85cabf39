// SPDX-License-Identifier: MIT
#include "host/play/Keys.h"

#include <gmock/gmock.h>

#include <string_view>

namespace {

using namespace orlo::host;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<Key> Decode(std::string_view bytes) {
    KeyDecoder decoder;
    std::vector<Key> keys;
    for (const char byte : bytes) {
        if (const auto key = decoder.Feed(byte)) keys.push_back(*key);
    }
    return keys;
}

TEST(KeyDecoder, LettersAreAcceptedInBothCases) {
    EXPECT_THAT(Decode("jkl"), ElementsAre(Key::Backward, Key::Pause, Key::Forward));
    EXPECT_THAT(Decode("JKL"), ElementsAre(Key::Backward, Key::Pause, Key::Forward));
    EXPECT_THAT(Decode("qQ "), ElementsAre(Key::Quit, Key::Quit, Key::Toggle));
}

TEST(KeyDecoder, ArrowsComeInBothFormsOfTerminals) {
    EXPECT_THAT(Decode("\x1b[A\x1b[B\x1b[C\x1b[D"),
                ElementsAre(Key::Up, Key::Down, Key::Right, Key::Left));
    EXPECT_THAT(Decode("\x1bOA\x1bOD"), ElementsAre(Key::Up, Key::Left));
}

TEST(KeyDecoder, OtherKeysAreIgnored) {
    EXPECT_THAT(Decode("xyz1\n\t"), IsEmpty());
}

TEST(KeyDecoder, TheWholeSequenceOfAnotherKeyIsIgnored) {
    // Delete, and an arrow with the control key; the letter after them is a separate key.
    EXPECT_THAT(Decode("\x1b[3~k"), ElementsAre(Key::Pause));
    EXPECT_THAT(Decode("\x1b[1;5Ck"), ElementsAre(Key::Pause));
}

TEST(KeyDecoder, ANewSequenceReplacesAnIncompleteSequence) {
    EXPECT_THAT(Decode("\x1b[\x1b[A"), ElementsAre(Key::Up));
}

}  // namespace
