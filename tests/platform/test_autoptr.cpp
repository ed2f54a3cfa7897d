// Kvl_AutoPtr: the ring of copies deletes its object once, when the last owning member leaves;
// non-owning pointers, assignment, reset, move and release.
#include <Kvl/Kvl_AutoPtr.h>
#include <gtest/gtest.h>

#include <utility>

namespace {

// Counts live objects and deletions; deleted through a virtual destructor.
struct Counted {
    static int alive;
    static int deleted;
    explicit Counted(int v = 0) : value(v) { ++alive; }
    virtual ~Counted() {
        --alive;
        ++deleted;
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    int value;
};
int Counted::alive = 0;
int Counted::deleted = 0;

struct Derived : Counted {
    static int deleted;
    Derived() : Counted(7) {}
    ~Derived() override { ++deleted; }
};
int Derived::deleted = 0;

class AutoPtrTest : public ::testing::Test {
protected:
    void SetUp() override { Counted::alive = Counted::deleted = Derived::deleted = 0; }
    void TearDown() override { EXPECT_EQ(Counted::alive, 0) << "leaked or double-deleted objects"; }
};

using Ptr = Kvl_AutoPtr<Counted>;

TEST_F(AutoPtrTest, RingDeletesOnceWhenTheLastMemberLeaves) {
    Ptr* pointers[5];
    pointers[0] = new Ptr(new Derived);
    EXPECT_TRUE(pointers[0]->unique());
    for (int i = 1; i < 5; ++i) pointers[i] = new Ptr(*pointers[i - 1]);
    EXPECT_EQ(pointers[0]->ring_size(), 5u);
    for (int i : {2, 0, 4, 1}) {  // leave in a scattered order
        delete pointers[i];
        EXPECT_EQ(Counted::deleted, 0);
    }
    EXPECT_EQ((*pointers[3])->value, 7);
    EXPECT_TRUE(pointers[3]->unique());
    delete pointers[3];
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(Derived::deleted, 1);
    Ptr null;
    Ptr nullCopy = null;  // null pointers share no ring
    EXPECT_TRUE(null.unique() && !nullCopy);
}

TEST_F(AutoPtrTest, DoesNotOwnNeverDeletes) {
    Counted object(3);
    {
        Ptr p(&object, Ptr::DoesNotOwn);
        Ptr copy = p;  // the copy takes the mode too
        EXPECT_EQ(copy.mode(), Ptr::DoesNotOwn);
    }
    {
        Ptr p(&object, 1);
        p.reset();
    }
    EXPECT_EQ(Counted::deleted, 0);
    EXPECT_EQ(object.value, 3);
}

TEST_F(AutoPtrTest, AssignmentAndResetReleaseTheOldObject) {
    Ptr p(new Counted(1));
    Ptr other(new Counted(2));
    p = other;  // p was alone and owning: object 1 is deleted
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(p->value, 2);
    Ptr shared(new Counted(3));
    Ptr sharedCopy = shared;
    shared = p;  // object 3 still has sharedCopy
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(p.ring_size(), 3u);
    EXPECT_TRUE(sharedCopy.unique());
    Ptr& alias = p;
    p = alias;  // self-assignment and assignment within one ring change nothing
    p = shared;
    p = std::move(alias);
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(p.ring_size(), 3u);
    sharedCopy.reset(sharedCopy.get());  // no-op
    EXPECT_EQ(Counted::deleted, 1);
    sharedCopy.reset(new Counted(4));
    EXPECT_EQ(Counted::deleted, 2);
}

TEST_F(AutoPtrTest, MoveTakesThePlaceAndReleaseGivesUpTheRing) {
    Ptr a(new Counted(1));
    Ptr b = a;
    Ptr c = std::move(a);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): moved-from is null by contract
    EXPECT_EQ(b.ring_size(), 2u);
    Ptr d(new Counted(2));
    d = std::move(c);  // object 2 deleted, d joins b
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(d.ring_size(), 2u);
    Ptr e = d;
    Counted* raw = d.release();
    EXPECT_FALSE(d);
    EXPECT_EQ(b.mode() + e.mode(), 2 * Ptr::DoesNotOwn);
    b.reset();
    e.reset();
    EXPECT_EQ(Counted::deleted, 1);
    delete raw;
}

struct Node {
    static int deleted;
    ~Node() { ++deleted; }
    Kvl_AutoPtr<Node> next;
};
int Node::deleted = 0;

TEST_F(AutoPtrTest, AssignmentFromAPointerInsideTheReleasedObject) {
    Node::deleted = 0;
    Kvl_AutoPtr<Node> head(new Node);
    head->next.reset(new Node);
    Node* second = head->next.get();
    head = head->next;  // releasing head's node destroys head->next, the source
    EXPECT_EQ(Node::deleted, 1);
    EXPECT_EQ(head.get(), second);
    EXPECT_TRUE(head.unique());
    head.reset();
    EXPECT_EQ(Node::deleted, 2);
}

}  // namespace
