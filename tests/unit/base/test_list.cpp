// qmList: order keeping, insertion and removal, stable sort.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "qmlist.h"

namespace {
template <class T>
std::vector<T> items(const qmList<T>& l) {
    return std::vector<T>(l.begin(), l.end());
}
using Ints = std::vector<int>;
}  // namespace

TEST(List, AppendPrependKeepOrder) {
    qmList<int> l;
    EXPECT_TRUE(l.empty());
    l.append(2);
    l.append(3);
    l.prepend(1);
    EXPECT_EQ(items(l), (Ints{1, 2, 3}));
    EXPECT_EQ(l.size(), 3);
    EXPECT_EQ(l.front(), 1);
    EXPECT_EQ(l.back(), 3);
    l.pop_front();
    l.pop_back();
    EXPECT_EQ(items(l), (Ints{2}));
    l.clear();
    EXPECT_TRUE(l.empty());
}

TEST(List, InsertBeforeAPosition) {
    qmList<int> l = {1, 3};
    auto it = l.insert(l.find(3), 2);
    EXPECT_EQ(*it, 2);
    l.insert(l.end(), 4);
    l.insert(l.begin(), 0);
    EXPECT_EQ(items(l), (Ints{0, 1, 2, 3, 4}));
}

TEST(List, EraseOneAndRange) {
    qmList<int> l = {0, 1, 2, 3, 4, 5};
    auto next = l.erase(l.find(2));
    EXPECT_EQ(*next, 3);
    EXPECT_EQ(items(l), (Ints{0, 1, 3, 4, 5}));
    next = l.erase(l.find(1), l.find(5));
    EXPECT_EQ(*next, 5);
    EXPECT_EQ(items(l), (Ints{0, 5}));
    // An empty range erases nothing.
    l.erase(l.begin(), l.begin());
    EXPECT_EQ(items(l), (Ints{0, 5}));
    l.erase(l.begin(), l.end());
    EXPECT_TRUE(l.empty());
}

TEST(List, FindAndRemoveTheFirstMatchOnly) {
    qmList<int> l = {7, 8, 7};
    EXPECT_EQ(l.find(9), l.end());
    EXPECT_TRUE(l.contains(8));
    EXPECT_FALSE(l.contains(9));
    EXPECT_TRUE(l.remove(7));
    EXPECT_EQ(items(l), (Ints{8, 7}));
    EXPECT_FALSE(l.remove(9));
    EXPECT_EQ(l.size(), 2);
    const qmList<int>& cl = l;
    EXPECT_EQ(*cl.find(7), 7);
}

TEST(List, SortIsStable) {
    // Equal keys keep their registration order, as the test sort requires.
    qmList<std::pair<int, char>> l = {{2, 'a'}, {1, 'b'}, {2, 'c'}, {1, 'd'}, {0, 'e'}, {2, 'f'}};
    l.sort([](const auto& x, const auto& y) { return x.first < y.first; });
    std::vector<std::pair<int, char>> expected = {{0, 'e'}, {1, 'b'}, {1, 'd'}, {2, 'a'}, {2, 'c'}, {2, 'f'}};
    EXPECT_EQ(items(l), expected);
    qmList<int> one = {5};
    one.sort([](int x, int y) { return x < y; });
    EXPECT_EQ(items(one), (Ints{5}));
    qmList<int> none;
    none.sort([](int x, int y) { return x < y; });
    EXPECT_TRUE(none.empty());
}

TEST(List, CopiesAreIndependent) {
    qmList<int> a = {1, 2};
    qmList<int> b = a;
    b.append(3);
    a.remove(1);
    EXPECT_EQ(items(a), (Ints{2}));
    EXPECT_EQ(items(b), (Ints{1, 2, 3}));
}
