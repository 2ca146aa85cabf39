// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "sonrel/base/ListChangeObserver.h"
#include "sonrel/base/ZRList.h"

namespace {

using orlo::project::ListChangeObserver;
namespace ResponseDelegate = orlo::project::ResponseDelegate;
using zrtl::ZRList;
namespace ZRListItemDelegate = zrtl::ZRListItemDelegate;

using Watched = ListChangeObserver<std::string, ResponseDelegate::RecordChanges>;

template <class List>
std::string Joined(const List& list) {
    std::string text;
    for (const std::string& item : list) text += item;
    return text;
}

Watched Letters(const char* letters) {
    Watched list;
    for (; *letters; ++letters) list.Add(std::string(1, *letters));
    return list;
}

TEST(ZRList, IsAContiguousArrayOfTheDistanceBetweenItsEnds) {
    ZRList<int, ZRListItemDelegate::SharedPtrIDCache> list;
    EXPECT_TRUE(list.empty());
    for (int i = 0; i < 5; ++i) list.push_back(10 * i);

    EXPECT_EQ(list.size(), 5u);
    EXPECT_EQ(list.end() - list.begin(), 5);
    EXPECT_EQ(&list[4] - &list[0], 4);
    EXPECT_EQ(list[3], 30);
}

TEST(ZRList, InsertsErasesAndClears) {
    ZRList<std::string> list;
    list.push_back("a");
    list.push_back("c");
    list.insert(list.begin() + 1, "b");
    EXPECT_EQ(Joined(list), "abc");
    list.erase(list.begin());
    EXPECT_EQ(Joined(list), "bc");
    list.clear();
    EXPECT_TRUE(list.empty());
}

TEST(ListChangeObserver, KeepsTheOrderOfItsItems) {
    Watched list = Letters("ad");
    list.Insert(1, "b");
    list.Insert(2, "c");
    list.Insert(4, "e");

    EXPECT_EQ(Joined(list), "abcde");
    EXPECT_EQ(list.size(), 5u);
    EXPECT_EQ(list[2], "c");
    EXPECT_THROW(list.Insert(6, "x"), std::out_of_range);
}

TEST(ListChangeObserver, RemovesTheFirstEqualItem) {
    Watched list = Letters("abab");

    EXPECT_TRUE(list.Remove("b"));
    EXPECT_FALSE(list.Remove("x"));
    EXPECT_EQ(Joined(list), "aab");
}

TEST(ListChangeObserver, RemovesAnItemThatIsNamedByItself) {
    Watched list = Letters("abc");

    EXPECT_TRUE(list.Remove(list[0]));
    EXPECT_EQ(Joined(list), "bc");
}

TEST(ListChangeObserver, MovesAnItemToTheGivenIndex) {
    Watched list = Letters("abcd");
    list.Move(0, 2);
    EXPECT_EQ(Joined(list), "bcad");
    list.Move(3, 0);
    EXPECT_EQ(Joined(list), "dbca");
    EXPECT_THROW(list.Move(4, 0), std::out_of_range);
    EXPECT_THROW(list.Move(0, 4), std::out_of_range);
}

TEST(ListChangeObserver, VisitsItemsForwardAndBackward) {
    const Watched list = Letters("abc");
    std::string walked;
    list.ForEach([&](std::string item) { walked += item; });
    list.ForEachReverse([&](std::string item) { walked += item; });

    EXPECT_EQ(walked, "abccba");
}

TEST(ListChangeObserver, AVisitorMayRemoveItems) {
    Watched list = Letters("abcd");
    std::string walked;

    list.ForEachReverse([&](std::string item) {
        walked += item;
        if (item == "c") list.Clear();
    });
    EXPECT_EQ(walked, "dc");

    for (const char* item : {"a", "b", "c", "d"}) list.Add(item);
    list.ForEach([&](std::string item) {
        walked += item;
        if (item == "b") list.Clear();
    });
    EXPECT_EQ(walked, "dcab");
}

TEST(ListChangeObserver, CountsEachChangeAndNoFailedChange) {
    Watched list;
    list.Add("a");
    list.Add("b");
    list.Move(0, 1);
    list.Remove("x");
    EXPECT_THROW(list.Insert(9, "x"), std::out_of_range);
    EXPECT_EQ(list.ChangeCount(), 3u);
    list.Remove("a");
    list.Clear();
    EXPECT_EQ(list.ChangeCount(), 5u);
}

TEST(ListChangeObserver, AnItemThatTheOwnerRefusesIsNotAdded) {
    Watched list;
    list.SetAdmission([](const std::string& item) {
        if (item == "bad") throw std::invalid_argument("bad");
    });

    EXPECT_THROW(list.Add("bad"), std::invalid_argument);
    EXPECT_THROW(list.Insert(0, "bad"), std::invalid_argument);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.ChangeCount(), 0u);
    list.Add("good");
    EXPECT_EQ(list.size(), 1u);
}

TEST(ListChangeObserver, TheOwnerIsNotifiedOfEachRemovedItem) {
    Watched list = Letters("abc");
    std::string left;
    list.SetRelease([&](const std::string& item) { left += item + std::to_string(list.size()); });

    list.Remove("b");
    list.Move(0, 1);
    list.Clear();

    EXPECT_EQ(left, "b2c0a0");
}

TEST(ListChangeObserver, ACopyHasTheItemsAndNoOwnerYet) {
    Watched list = Letters("ab");
    list.SetAdmission([](const std::string&) { throw std::invalid_argument("closed"); });

    Watched copy(list);
    copy.Add("c");

    EXPECT_EQ(Joined(copy), "abc");
    EXPECT_EQ(Joined(list), "ab");
}

}  // namespace
