// The collections: every bound at its last valid and first invalid index, lookups by value or
// isEqual, order, iteration and deletion of owned items.
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
    RWTValOrderedVector<int> emptyVal;
    RWTPtrOrderedVector<int> emptyPtrs;
    RWTPtrSlist<int> emptySlist;
    for (const auto& access : std::vector<std::function<void()>>{
             [&] { (void)emptyVal.first(); }, [&] { (void)emptyVal.last(); },
             [&] { (void)emptyPtrs.first(); }, [&] { (void)emptyPtrs.last(); },
             [&] { (void)emptySlist.first(); }, [&] { (void)emptySlist.last(); }})
        EXPECT_THROW(access(), RWBoundsErr);
    // The error is an out_of_range that names the index and the length.
    try {
        (void)val[3];
    } catch (const std::out_of_range& e) {
        const auto* bounds = dynamic_cast<const RWBoundsErr*>(&e);
        ASSERT_NE(bounds, nullptr);
        EXPECT_EQ(bounds->index(), 3u);
        EXPECT_EQ(bounds->length(), 3u);
        EXPECT_NE(std::string(e.what()).find("index 3"), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("length 3"), std::string::npos) << e.what();
    }
}

TEST(RWCString, SearchStripAndEmbeddedNul) {
    EXPECT_EQ(RWCString("MONOCHROME2").index("CHROME"), 4u);
    EXPECT_EQ(RWCString("MONOCHROME2").index("XYZ"), RW_NPOS);
    EXPECT_EQ(RWCString("  pad  ").strip(), "  pad");  // trailing by default
    EXPECT_EQ(RWCString("  pad  ").strip(RWCString::both), "pad");
    EXPECT_EQ(RWCString("a\0b", 3).length(), 3u);
    EXPECT_TRUE(RWCString(nullptr).isNull());
}

TEST(RWCollectable, DefaultsCompareByIdentity) {
    RWCollectable a, b;
    EXPECT_EQ(a.compareTo(&a), 0);
    EXPECT_NE(a.compareTo(&b), 0);
    EXPECT_EQ(a.compareTo(&b), -b.compareTo(&a));
    EXPECT_TRUE(a.isEqual(&a) && !a.isEqual(&b));
}

TEST(RWOrdered, InsertIterateFindRemove) {
    Number one(1), two(2), three(3), twoAgain(2);
    RWOrdered list;
    list.insert(&one);
    list.append(&three);
    list.insertAt(1, &two);
    RWOrderedIterator next(list);
    EXPECT_EQ(next.key(), nullptr);
    for (Number* n : {&one, &two, &three}) {
        EXPECT_EQ(next(), n);
        EXPECT_EQ(next.key(), n);
    }
    EXPECT_EQ(next(), nullptr);
    next.reset();
    EXPECT_EQ(next(), &one);
    EXPECT_EQ(list.find(&twoAgain), &two);  // isEqual, not identity
    EXPECT_EQ(list.index(&twoAgain), 1u);
    EXPECT_EQ(list.remove(&twoAgain), &two);
    EXPECT_EQ(list.removeAt(0), &one);
    EXPECT_EQ(list.index(&one), RW_NPOS);
    list.clear();
    EXPECT_EQ(list.first(), nullptr);
}

TEST(RWOrdered, ClearAndDestroyDeletesEachOnce) {
    Number::deleted = 0;
    RWOrdered list;
    RWTPtrOrderedVector<Number> vector;
    auto* shared = new Number(1);
    list.insert(shared);
    list.insert(new Number(2));
    list.insert(shared);
    list.clearAndDestroy();
    EXPECT_EQ(Number::deleted, 2);
    EXPECT_TRUE(list.isEmpty());
    auto* twice = new Number(3);
    vector.append(twice);
    vector.append(twice);
    vector.clearAndDestroy();
    EXPECT_EQ(Number::deleted, 3);
}

TEST(RWSortedVector, KeepsOrderByCompareTo) {
    Number five(5), one(1), three(3), threeB(3), key(3), missing(4);
    RWSortedVector v;
    for (Number* n : {&five, &one, &three, &threeB}) v.insert(n);
    EXPECT_EQ(v.insert(nullptr), nullptr);
    ASSERT_EQ(v.entries(), 4u);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(v[i], (std::vector<Number*>{&one, &three, &threeB, &five}[i]));
    EXPECT_EQ(v.index(&key), 1u);
    EXPECT_EQ(v.occurrencesOf(&key), 2u);
    EXPECT_FALSE(v.contains(&missing));
    EXPECT_EQ(v.remove(&key), &three);  // equal items leave in insertion order
    EXPECT_EQ(v.remove(&key), &threeB);
    EXPECT_EQ(v.remove(&key), nullptr);
}

TEST(RWTPtrCollections, LookupsUseValueEquality) {
    std::string a = "a", b = "b", c = "c", bCopy = "b";
    RWTPtrSlist<std::string> list;
    for (std::string* s : {&c, &a, &b, &c}) list.append(s);
    EXPECT_EQ(list.find(&bCopy), &b);
    EXPECT_EQ(list.index(&bCopy), 2u);
    EXPECT_EQ(list.removeAll(&c), 2u);
    EXPECT_EQ(list.get(), &a);
    EXPECT_EQ(list.remove(&bCopy), &b);
    EXPECT_EQ(list.get(), nullptr);
    RWTPtrOrderedVector<std::string> ptrs;
    ptrs.append(&b);
    EXPECT_EQ(ptrs.remove(&bCopy), &b);
    RWTValOrderedVector<int> v{1, 2, 1};
    EXPECT_TRUE(v.remove(2));
    EXPECT_FALSE(v.remove(2));
    EXPECT_EQ(v.removeAll(1), 2u);
}

}  // namespace
