#include <RW/RWBoundsErr.h>
#include <RW/RWCString.h>
#include <RW/RWCollectable.h>
#include <RW/RWOrdered.h>
#include <RW/RWSortedVector.h>
#include <RW/RWTPtrOrderedVector.h>
#include <RW/RWTPtrSlist.h>
#include <RW/RWTValOrderedVector.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace {

// A collectable with a value, ordered by it; counts deletions.
struct Number : RWCollectable {
    static int deleted;
    explicit Number(int v) : value(v) {}
    ~Number() override { ++deleted; }
    int compareTo(const RWCollectable* other) const override {
        const int o = static_cast<const Number*>(other)->value;
        return value < o ? -1 : value > o ? 1 : 0;
    }
    bool isEqual(const RWCollectable* other) const override { return compareTo(other) == 0; }
    unsigned hash() const override { return static_cast<unsigned>(value); }
    friend bool operator==(const Number& a, const Number& b) { return a.value == b.value; }
    int value;
};
int Number::deleted = 0;

// --- RWBoundsErr: every bound of every collection, at its last valid and first invalid index ---

TEST(RWBoundsErr, IsAnOutOfRangeNamingIndexAndLength) {
    RWTValOrderedVector<int> v{10, 20, 30};
    try {
        (void)v[3];
        FAIL() << "no exception";
    } catch (const std::out_of_range& e) {
        const auto* bounds = dynamic_cast<const RWBoundsErr*>(&e);
        ASSERT_NE(bounds, nullptr);
        EXPECT_EQ(bounds->index(), 3u);
        EXPECT_EQ(bounds->length(), 3u);
        EXPECT_STREQ(e.what(), RWBoundsErr(3, 3).what());
        const std::string what = e.what();
        EXPECT_NE(what.find("index 3"), std::string::npos) << what;
        EXPECT_NE(what.find("length 3"), std::string::npos) << what;
    }
}

TEST(RWBoundsErr, EveryBoundHasItsEdge) {
    Number a(1), b(2), c(3), d(4);
    int x = 0;
    RWTValOrderedVector<int> val{1, 2, 3};
    RWTPtrOrderedVector<int> ptrs;
    RWTPtrSlist<int> slist;
    RWOrdered ordered;
    RWSortedVector sorted;
    for (Number* n : {&a, &b, &c}) ordered.append(n), sorted.insert(n);
    for (int i = 0; i < 3; ++i) ptrs.append(&x), slist.append(&x);
    const RWCString text("abc");
    // Each access with n = 3 entries: `ok` at the last valid index, `bad` at the first invalid.
    struct Edge {
        const char* what;
        std::function<void(size_t)> access;
        size_t ok, bad;
    } edges[] = {
        {"RWTValOrderedVector::at", [&](size_t i) { (void)val.at(i); }, 2, 3},
        {"RWTValOrderedVector::[]", [&](size_t i) { (void)val[i]; }, 2, 3},
        {"RWTValOrderedVector::insertAt", [&](size_t i) { val.insertAt(i, 9), val.removeAt(i); }, 3, 4},
        {"RWTValOrderedVector::removeAt", [&](size_t i) { val.insertAt(i, val.removeAt(i)); }, 2, 3},
        {"RWTPtrOrderedVector::[]", [&](size_t i) { (void)ptrs[i]; }, 2, 3},
        {"RWTPtrOrderedVector::insertAt", [&](size_t i) { ptrs.insertAt(i, &x), ptrs.removeAt(i); }, 3, 4},
        {"RWTPtrOrderedVector::removeAt", [&](size_t i) { ptrs.insertAt(i, ptrs.removeAt(i)); }, 2, 3},
        {"RWTPtrSlist::at", [&](size_t i) { (void)slist.at(i); }, 2, 3},
        {"RWTPtrSlist::insertAt", [&](size_t i) { slist.insertAt(i, &x), slist.removeAt(i); }, 3, 4},
        {"RWTPtrSlist::removeAt", [&](size_t i) { slist.insertAt(i, slist.removeAt(i)); }, 2, 3},
        {"RWOrdered::[]", [&](size_t i) { (void)ordered[i]; }, 2, 3},
        {"RWOrdered::at", [&](size_t i) { (void)ordered.at(i); }, 2, 3},
        {"RWOrdered::insertAt", [&](size_t i) { ordered.insertAt(i, &d), ordered.removeAt(i); }, 3, 4},
        {"RWOrdered::removeAt", [&](size_t i) { ordered.insertAt(i, ordered.removeAt(i)); }, 2, 3},
        {"RWSortedVector::at", [&](size_t i) { (void)sorted.at(i); }, 2, 3},
        {"RWSortedVector::removeAt", [&](size_t i) { sorted.insert(sorted.removeAt(i)); }, 2, 3},
        {"RWCString::[]", [&](size_t i) { (void)text[i]; }, 2, 3},
        {"RWCString::(start, n)", [&](size_t i) { (void)text(i, 3 - i); }, 3, 4},
        {"RWCString::(0, length)", [&](size_t n) { (void)text(0, n); }, 3, 4},
    };
    for (const Edge& e : edges) {
        EXPECT_NO_THROW(e.access(e.ok)) << e.what;
        EXPECT_THROW(e.access(e.bad), RWBoundsErr) << e.what;
    }
    EXPECT_EQ(val.entries() + ptrs.entries() + slist.entries() + ordered.entries() + sorted.entries(), 15u);
    EXPECT_EQ(text(1, 2), "bc");
    EXPECT_EQ(text(3, 0), "");
    // first() and last() of empty collections.
    RWTValOrderedVector<int> emptyVal;
    RWTPtrOrderedVector<int> emptyPtrs;
    RWTPtrSlist<int> emptySlist;
    EXPECT_THROW((void)emptyVal.first(), RWBoundsErr);
    EXPECT_THROW((void)emptyVal.last(), RWBoundsErr);
    EXPECT_THROW((void)emptyPtrs.first(), RWBoundsErr);
    EXPECT_THROW((void)emptyPtrs.last(), RWBoundsErr);
    EXPECT_THROW((void)emptySlist.first(), RWBoundsErr);
    EXPECT_THROW((void)emptySlist.last(), RWBoundsErr);
}

// --- RWCString -------------------------------------------------------------

TEST(RWCString, BasicOperations) {
    RWCString s("MONOCHROME2");
    EXPECT_EQ(s.length(), 11u);
    EXPECT_STREQ(s.data(), "MONOCHROME2");
    EXPECT_STREQ(s.c_str(), "MONOCHROME2");
    EXPECT_STREQ(static_cast<const char*>(s), "MONOCHROME2");
    EXPECT_TRUE(s == "MONOCHROME2");
    EXPECT_TRUE(s != "MONOCHROME1");
    EXPECT_TRUE(s == RWCString("MONOCHROME2"));
    EXPECT_EQ(s.index("CHROME"), 4u);
    EXPECT_EQ(s.index("XYZ"), RW_NPOS);
    EXPECT_TRUE(s.contains("MONO"));
    EXPECT_EQ(s(0, 4), "MONO");
    EXPECT_EQ(s[10], '2');
    EXPECT_FALSE(s.isNull());
    EXPECT_TRUE(RWCString().isNull());
    EXPECT_TRUE(RWCString(nullptr).isNull());

    RWCString t("ab");
    t += "cd";
    t += 'e';
    t.prepend("_");
    EXPECT_EQ(t, "_abcde");
    EXPECT_EQ(RWCString("Mixed").toUpper(), "MIXED");
    EXPECT_EQ(RWCString("Mixed").toLower(), "mixed");
    EXPECT_EQ(RWCString("  pad  ").strip(), "  pad");
    EXPECT_EQ(RWCString("  pad  ").strip(RWCString::both), "pad");
    EXPECT_EQ(RWCString("x") + "y" + RWCString("z"), "xyz");
    EXPECT_LT(RWCString("a"), RWCString("b"));
    EXPECT_EQ(RWCString("abc").hash(), RWCString("abc").hash());
    EXPECT_EQ(RWCString("a\0b", 3).length(), 3u);

    std::map<RWCString, int> map{{"b", 2}, {"a", 1}};
    EXPECT_EQ(map.begin()->second, 1);
}

// --- RWCollectable ---------------------------------------------------------

TEST(RWCollectable, DefaultsAreIdentityBased) {
    RWCollectable a;
    RWCollectable b;
    EXPECT_EQ(a.compareTo(&a), 0);
    EXPECT_NE(a.compareTo(&b), 0);
    EXPECT_EQ(a.compareTo(&b), -b.compareTo(&a));
    EXPECT_TRUE(a.isEqual(&a));
    EXPECT_FALSE(a.isEqual(&b));
    EXPECT_EQ(a.isA(), RW_COLLECTABLE_ID);
    EXPECT_EQ(a.self(), &a);
    EXPECT_EQ(a.newSpecies(), nullptr);
    EXPECT_EQ(a.copy(), nullptr);
    EXPECT_EQ(a.binaryStoreSize(), 0u);
    EXPECT_EQ(a.hash(), a.hash());
}

// --- RWOrdered ---------------------------------------------------------------

TEST(RWOrdered, InsertIterateFindRemove) {
    Number one(1), two(2), three(3), twoAgain(2);
    RWOrdered list;
    EXPECT_TRUE(list.isEmpty());
    list.insert(&one);
    list.append(&three);
    list.insertAt(1, &two);
    ASSERT_EQ(list.entries(), 3u);
    EXPECT_EQ(list[0], &one);
    EXPECT_EQ(list.at(1), &two);
    EXPECT_EQ(list.last(), &three);

    RWOrderedIterator next(list);
    EXPECT_EQ(next.key(), nullptr);
    EXPECT_EQ(next(), &one);
    EXPECT_EQ(next.key(), &one);
    EXPECT_EQ(next(), &two);
    EXPECT_EQ(next(), &three);
    EXPECT_EQ(next(), nullptr);
    EXPECT_EQ(next(), nullptr);
    next.reset();
    EXPECT_EQ(next(), &one);

    EXPECT_EQ(list.find(&twoAgain), &two);  // isEqual, not identity
    EXPECT_EQ(list.index(&twoAgain), 1u);
    EXPECT_TRUE(list.contains(&twoAgain));
    EXPECT_EQ(list.remove(&twoAgain), &two);
    EXPECT_EQ(list.entries(), 2u);
    EXPECT_EQ(list.removeAt(0), &one);
    EXPECT_EQ(list.index(&one), RW_NPOS);
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.first(), nullptr);
}

TEST(RWOrdered, ClearAndDestroyDeletesEachOnce) {
    Number::deleted = 0;
    RWOrdered list;
    auto* shared = new Number(1);
    list.insert(shared);
    list.insert(new Number(2));
    list.insert(shared);
    list.clearAndDestroy();
    EXPECT_EQ(Number::deleted, 2);
    EXPECT_TRUE(list.isEmpty());
}

// --- RWSortedVector ----------------------------------------------------------

TEST(RWSortedVector, KeepsOrderByCompareTo) {
    Number five(5), one(1), three(3), threeB(3), key(3), missing(4);
    RWSortedVector v;
    v.insert(&five);
    v.insert(&one);
    v.insert(&three);
    v.insert(&threeB);
    EXPECT_EQ(v.insert(nullptr), nullptr);
    ASSERT_EQ(v.entries(), 4u);
    EXPECT_EQ(v[0], &one);
    EXPECT_EQ(v[1], &three);  // equal items keep insertion order
    EXPECT_EQ(v[2], &threeB);
    EXPECT_EQ(v[3], &five);
    EXPECT_EQ(v.index(&key), 1u);
    EXPECT_EQ(v.find(&key), &three);
    EXPECT_EQ(v.occurrencesOf(&key), 2u);
    EXPECT_EQ(v.index(&missing), RW_NPOS);
    EXPECT_FALSE(v.contains(&missing));
    EXPECT_EQ(v.remove(&key), &three);
    EXPECT_EQ(v.remove(&key), &threeB);
    EXPECT_EQ(v.remove(&key), nullptr);
    EXPECT_EQ(v.entries(), 2u);
    EXPECT_EQ(v.removeAt(1), &five);
}

// --- RWTPtrSlist -------------------------------------------------------------

TEST(RWTPtrSlist, ValueEqualityAndIteration) {
    std::string a = "a", b = "b", c = "c", bCopy = "b", missing = "z";
    RWTPtrSlist<std::string> list;
    list.append(&a);
    list.append(&b);
    list.insert(&c);
    list.prepend(&c);
    EXPECT_EQ(list.entries(), 4u);
    EXPECT_TRUE(list.contains(&bCopy));
    EXPECT_FALSE(list.contains(&missing));
    EXPECT_EQ(list.find(&bCopy), &b);
    EXPECT_EQ(list.index(&bCopy), 2u);
    EXPECT_EQ(list.occurrencesOf(&c), 2u);
    EXPECT_EQ(list.first(), &c);
    EXPECT_EQ(list.last(), &c);

    std::string joined;
    for (std::string* s : list) joined += *s;
    EXPECT_EQ(joined, "cabc");
    RWTPtrSlistIterator<std::string> next(list);
    joined.clear();
    while (std::string* s = next()) joined += *s;
    EXPECT_EQ(joined, "cabc");

    EXPECT_EQ(list.removeAll(&c), 2u);
    EXPECT_EQ(list.get(), &a);
    EXPECT_EQ(list.remove(&bCopy), &b);
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.get(), nullptr);
}

// --- RWTValOrderedVector -----------------------------------------------------

TEST(RWTValOrderedVector, Operations) {
    RWTValOrderedVector<int> v;
    v.append(1);
    v.append(2);
    v.insert(3);
    v.insertAt(0, 0);
    v.prepend(-1);
    EXPECT_EQ(v.entries(), 5u);
    EXPECT_EQ(v.length(), 5u);
    EXPECT_EQ(v[0], -1);
    EXPECT_EQ(v.at(4), 3);
    v[0] = 7;
    EXPECT_EQ(v.first(), 7);
    EXPECT_TRUE(v.contains(2));
    EXPECT_EQ(v.index(2), 3u);
    EXPECT_EQ(v.index(42), RW_NPOS);
    int found = 0;
    EXPECT_TRUE(v.find(3, found));
    EXPECT_EQ(found, 3);
    EXPECT_EQ(v.removeAt(0), 7);
    EXPECT_TRUE(v.remove(2));
    EXPECT_FALSE(v.remove(2));
    v.append(1);
    EXPECT_EQ(v.removeAll(1), 2u);
    EXPECT_EQ(v.entries(), 2u);
    v.clear();
    EXPECT_TRUE(v.isEmpty());
}

// --- RWTPtrOrderedVector -----------------------------------------------------

TEST(RWTPtrOrderedVector, OperationsAndClearAndDestroy) {
    Number::deleted = 0;
    RWTPtrOrderedVector<Number> v;
    v.append(new Number(1));
    v.append(new Number(2));
    v.insertAt(1, new Number(3));
    Number key(3);
    EXPECT_EQ(v.length(), 3u);
    EXPECT_TRUE(v.contains(&key));  // value equality: *item == key
    EXPECT_EQ(v.index(&key), 1u);
    Number* removed = v.remove(&key);
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(removed->value, 3);
    delete removed;
    v.clearAndDestroy();
    EXPECT_EQ(Number::deleted, 3);
    EXPECT_TRUE(v.isEmpty());
}

}  // namespace
