// SPDX-License-Identifier: MIT
#include "sonrel/base/ZRID.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <unordered_map>

#include "tests/support/IdentityFailure.h"

namespace {

using sonrel_tests::IdentityFailure;
using sonrel_tests::SetIdentityFailure;
using zrtl::ZRID;

ZRID Example() {
    ZRID id;
    id.data1 = 0x0123ABCD;
    id.data2 = 0x4567;
    id.data3 = 0x89EF;
    for (int i = 0; i < 8; ++i) id.data4[i] = static_cast<std::uint8_t>(0x10 * i + 1);
    return id;
}

TEST(ZRID, IsSixteenBytesOfPlainData) {
    EXPECT_EQ(sizeof(ZRID), 16u);
    EXPECT_TRUE(std::is_trivially_copyable_v<ZRID>);
    EXPECT_TRUE(std::is_standard_layout_v<ZRID>);
}

TEST(ZRID, ADefaultIdentityIsNullAndHasOnlyZeroBytes) {
    const ZRID id;
    const unsigned char zeros[16] = {};

    EXPECT_TRUE(id.IsNull());
    EXPECT_EQ(std::memcmp(&id, zeros, 16), 0);
}

TEST(ZRID, AnyNonzeroByteMakesItDifferFromNull) {
    for (int i = 0; i < 16; ++i) {
        ZRID id;
        reinterpret_cast<unsigned char*>(&id)[i] = 1;
        EXPECT_FALSE(id.IsNull()) << "byte " << i;
        EXPECT_NE(id, ZRID());
    }
}

TEST(ZRID, TheTextIsThirtySixLowerCaseDigitsAndDashesFieldByField) {
    EXPECT_EQ(Example().ToString(), L"0123abcd-4567-89ef-0111-213141516171");
    EXPECT_EQ(ZRID().ToString(), L"00000000-0000-0000-0000-000000000000");
}

TEST(ZRID, ANewIdentityHasTheFormOfARandomUuid) {
    for (int i = 0; i < 100; ++i) {
        const std::wstring text = ZRID::Create().ToString();
        ASSERT_EQ(text.size(), 36u);
        for (const std::size_t at : {8, 13, 18, 23}) EXPECT_EQ(text[at], L'-');
        EXPECT_EQ(text.find_first_not_of(L"0123456789abcdef-"), std::wstring::npos);
        EXPECT_EQ(text[14], L'4');
        EXPECT_NE(std::wstring(L"89ab").find(text[19]), std::wstring::npos);
    }
}

TEST(ZRID, NewIdentitiesDiffer) {
    std::set<ZRID> seen;
    for (int i = 0; i < 10000; ++i) seen.insert(ZRID::Create());

    EXPECT_EQ(seen.size(), 10000u);
}

TEST(ZRID, NoByteOfANewIdentityFollowsFromAnother) {
    // Six bits of a byte are equal in 100 identities with a probability of 2^-600.
    bool differ[16][16] = {};
    for (int i = 0; i < 100; ++i) {
        const ZRID id = ZRID::Create();
        const auto* bytes = reinterpret_cast<const unsigned char*>(&id);
        for (int a = 0; a < 16; ++a) {
            for (int b = 0; b < 16; ++b) {
                if (((bytes[a] ^ bytes[b]) & 0x3F) != 0) differ[a][b] = true;
            }
        }
    }

    for (int a = 0; a < 16; ++a) {
        for (int b = 0; b < a; ++b) EXPECT_TRUE(differ[a][b]) << "bytes " << a << " and " << b;
    }
}

TEST(ZRID, FieldsAreComparedInTheirOrder) {
    ZRID low;
    ZRID high;
    low.data4[7] = 2;
    high.data4[7] = 3;
    EXPECT_LT(low, high);
    low.data4[0] = 9;
    EXPECT_GT(low, high);
    high.data3 = 1;
    EXPECT_LT(low, high);
    low.data2 = 1;
    EXPECT_GT(low, high);
    high.data1 = 0x80000000u;
    EXPECT_LT(low, high);
}

TEST(ZRID, IsAKeyOfAHashedMap) {
    std::unordered_map<ZRID, int> map;
    for (int i = 0; i < 1000; ++i) map[ZRID::Create()] = i;
    map[Example()] = 77;

    EXPECT_EQ(map.size(), 1001u);
    EXPECT_EQ(map.at(Example()), 77);
}

TEST(ZRID, WithoutRandomBytesThereIsNoIdentityAndNoFallback) {
    SetIdentityFailure(IdentityFailure::Create);
    try {
        ZRID::Create();
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Cannot create UUID");
    }
    SetIdentityFailure(IdentityFailure::None);
}

TEST(ZRID, ATextThatCannotBeFormedIsAnError) {
    SetIdentityFailure(IdentityFailure::Text);
    try {
        Example().ToString();
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Cannot create UUID");
    }
    SetIdentityFailure(IdentityFailure::None);
}

}  // namespace
