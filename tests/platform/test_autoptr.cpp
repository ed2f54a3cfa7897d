#include <Kvl/Kvl_AutoPtr.h>
#include <gtest/gtest.h>

#include <utility>

namespace {

// Counts constructions and deletions; deleted through a virtual destructor.
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

struct DerivedCounted : Counted {
    static int derivedDeleted;
    DerivedCounted() : Counted(7) {}
    ~DerivedCounted() override { ++derivedDeleted; }
};
int DerivedCounted::derivedDeleted = 0;

class AutoPtrTest : public ::testing::Test {
protected:
    void SetUp() override {
        Counted::alive = 0;
        Counted::deleted = 0;
        DerivedCounted::derivedDeleted = 0;
    }
    void TearDown() override { EXPECT_EQ(Counted::alive, 0) << "leaked or double-deleted objects"; }
};

using Ptr = Kvl_AutoPtr<Counted>;

TEST_F(AutoPtrTest, AloneOwnerDeletesOnDestruction) {
    {
        Ptr p(new Counted(1));
        EXPECT_TRUE(p);
        EXPECT_EQ(p->value, 1);
        EXPECT_EQ((*p).value, 1);
        EXPECT_EQ(p.ring_size(), 1u);
        EXPECT_TRUE(p.unique());
        EXPECT_EQ(p.mode(), Ptr::Owns);
    }
    EXPECT_EQ(Counted::deleted, 1);
}

TEST_F(AutoPtrTest, DefaultIsNull) {
    Ptr p;
    EXPECT_FALSE(p);
    EXPECT_EQ(p.get(), nullptr);
    EXPECT_TRUE(p == nullptr);
    Ptr q = p;  // copying null shares nothing
    EXPECT_EQ(q.ring_size(), 1u);
}

TEST_F(AutoPtrTest, TwoCopiesFirstDestroyedLeavesObjectSecondDeletes) {
    auto* second = new Ptr();
    {
        Ptr first(new Counted(5));
        *second = first;
        EXPECT_EQ(first.ring_size(), 2u);
        EXPECT_EQ(second->ring_size(), 2u);
        EXPECT_EQ(first.get(), second->get());
    }
    EXPECT_EQ(Counted::deleted, 0) << "destroying the first copy must leave the object alive";
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ((*second)->value, 5);
    EXPECT_EQ(second->ring_size(), 1u);
    delete second;
    EXPECT_EQ(Counted::deleted, 1) << "destroying the last copy deletes the object";
}

TEST_F(AutoPtrTest, RingOfManyDeletesOnceWhenLastLeaves) {
    Ptr* pointers[5];
    pointers[0] = new Ptr(new Counted);
    for (int i = 1; i < 5; ++i) pointers[i] = new Ptr(*pointers[i - 1]);
    EXPECT_EQ(pointers[0]->ring_size(), 5u);
    // Leave in a scattered order.
    for (int i : {2, 0, 4, 1}) {
        delete pointers[i];
        EXPECT_EQ(Counted::deleted, 0);
    }
    EXPECT_EQ(pointers[3]->ring_size(), 1u);
    delete pointers[3];
    EXPECT_EQ(Counted::deleted, 1);
}

TEST_F(AutoPtrTest, ModeOneNeverDeletes) {
    Counted object(3);
    {
        Ptr p(&object, Ptr::DoesNotOwn);
        EXPECT_EQ(p.mode(), 1);
        Ptr copy = p;  // the copy takes the mode too
        EXPECT_EQ(copy.mode(), 1);
    }
    EXPECT_EQ(Counted::deleted, 0);
    {
        Ptr p(&object, 1);
        p.reset();
    }
    EXPECT_EQ(Counted::deleted, 0);
    EXPECT_EQ(object.value, 3);
}

TEST_F(AutoPtrTest, ReassignmentReleasesTheOldObject) {
    Ptr p(new Counted(1));
    Ptr other(new Counted(2));
    p = other;  // p was alone and owning: object 1 is deleted
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(p->value, 2);
    EXPECT_EQ(p.ring_size(), 2u);

    Ptr shared(new Counted(3));
    Ptr sharedCopy = shared;
    shared = p;  // object 3 still has sharedCopy
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(sharedCopy->value, 3);
    EXPECT_EQ(p.ring_size(), 3u);
    EXPECT_EQ(sharedCopy.ring_size(), 1u);
}

TEST_F(AutoPtrTest, SelfAssignmentKeepsTheObject) {
    Ptr p(new Counted(9));
    Ptr& alias = p;
    p = alias;
    EXPECT_EQ(Counted::deleted, 0);
    EXPECT_EQ(p->value, 9);
    EXPECT_EQ(p.ring_size(), 1u);
    p = std::move(alias);
    EXPECT_EQ(Counted::deleted, 0);
    EXPECT_EQ(p->value, 9);

    Ptr q = p;  // assignment within one ring
    q = p;
    p = q;
    EXPECT_EQ(Counted::deleted, 0);
    EXPECT_EQ(p.ring_size(), 2u);
}

TEST_F(AutoPtrTest, ResetReleasesAndTakesNewObject) {
    Ptr p(new Counted(1));
    p.reset(new Counted(2));
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(p->value, 2);
    Counted* same = p.get();
    p.reset(same);  // no-op
    EXPECT_EQ(Counted::deleted, 1);
    p.reset();
    EXPECT_EQ(Counted::deleted, 2);
    EXPECT_FALSE(p);
}

TEST_F(AutoPtrTest, MoveTakesThePlaceInTheRing) {
    Ptr a(new Counted(1));
    Ptr b = a;
    Ptr c = std::move(a);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): moved-from is null by contract
    EXPECT_EQ(a.ring_size(), 1u);
    EXPECT_EQ(b.ring_size(), 2u);
    EXPECT_EQ(c.get(), b.get());
    Ptr d(new Counted(2));
    d = std::move(c);  // object 2 deleted, d joins b
    EXPECT_EQ(Counted::deleted, 1);
    EXPECT_EQ(d.ring_size(), 2u);
    EXPECT_EQ(d->value, 1);
}

TEST_F(AutoPtrTest, ReleaseHandsTheObjectToTheCaller) {
    Ptr a(new Counted(4));
    Ptr b = a;
    Ptr c = b;
    Counted* raw = a.release();
    EXPECT_FALSE(a);
    EXPECT_EQ(b.get(), raw);
    EXPECT_EQ(b.mode(), Ptr::DoesNotOwn);
    EXPECT_EQ(c.mode(), Ptr::DoesNotOwn);
    b.reset();
    c.reset();
    EXPECT_EQ(Counted::deleted, 0);
    delete raw;
    EXPECT_EQ(Counted::deleted, 1);
}

TEST_F(AutoPtrTest, DeletesThroughTheVirtualDestructor) {
    {
        Ptr p(new DerivedCounted);
        Ptr q = p;
    }
    EXPECT_EQ(DerivedCounted::derivedDeleted, 1);
    EXPECT_EQ(Counted::deleted, 1);
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
    // Releasing head's node destroys head->next, the source of the assignment.
    head = head->next;
    EXPECT_EQ(Node::deleted, 1);
    EXPECT_EQ(head.get(), second);
    EXPECT_EQ(head.ring_size(), 1u);
    head.reset();
    EXPECT_EQ(Node::deleted, 2);
}

TEST_F(AutoPtrTest, BasicTypeWorksForScalars) {
    Kvl_AutoPtrBasicType<int> a(new int(42));
    Kvl_AutoPtrBasicType<int> b = a;
    EXPECT_EQ(*b.get(), 42);
    EXPECT_EQ(a.ring_size(), 2u);
}

}  // namespace
