// Reference counting: counts start at 0, copies do not share counts, the last release deletes.
#include "nubase/refcount.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nubase::object_refcount;
using nubase::ptr_refcount;

static_assert(!std::is_convertible_v<ptr_refcount<object_refcount>, bool>,
              "ptr_refcount's bool conversion is explicit");
static_assert(std::is_constructible_v<bool, ptr_refcount<object_refcount>>);

struct counted : object_refcount {
    explicit counted(std::atomic<int>* deaths) : m_deaths(deaths) {}
    ~counted() override { m_deaths->fetch_add(1); }
    std::atomic<int>* m_deaths;
};
static_assert(std::is_convertible_v<ptr_refcount<counted>, ptr_refcount<object_refcount>>);
static_assert(!std::is_convertible_v<ptr_refcount<object_refcount>, ptr_refcount<counted>>);

TEST(Refcount, CountsAreNeverCopiedDropHandsOverReleaseDeletes) {
    std::atomic<int> deaths{0};
    auto* object = new counted(&deaths);
    object->retain();
    object->retain();
    object_refcount copy(*object);
    EXPECT_EQ(0, copy.refcount());
    copy.retain();
    copy = *object;  // assignment keeps the target's own count
    EXPECT_EQ(1, copy.refcount());
    EXPECT_EQ(&copy, copy.drop());

    EXPECT_EQ(nullptr, object->drop());
    EXPECT_EQ(1, object->refcount());
    EXPECT_EQ(object, object->drop());  // handed over, not deleted
    EXPECT_EQ(0, deaths.load());
    object->retain();
    object->release();
    EXPECT_EQ(1, deaths.load());
}

TEST(Refcount, PointerRetainsReleasesAndSurvivesSelfAssignment) {
    std::atomic<int> deaths{0};
    {
        ptr_refcount<counted> p(new counted(&deaths));
        EXPECT_EQ(1, p->refcount());
        ptr_refcount<counted> q = p;
        EXPECT_EQ(2, q->refcount());
        const ptr_refcount<counted>& same = p;
        p = same;
        EXPECT_EQ(2, p->refcount());
        EXPECT_EQ(p.get(), &*q);

        ptr_refcount<counted> other(new counted(&deaths));
        other = p;  // the old object goes, the shared one gains a reference
        EXPECT_EQ(1, deaths.load());
        EXPECT_EQ(3, p->refcount());
        ptr_refcount<counted> none;
        EXPECT_FALSE(none);
        EXPECT_TRUE(other);
        none = ptr_refcount<counted>();
        other = none;
        EXPECT_EQ(2, p->refcount());
        const ptr_refcount<object_refcount> base = p;  // derived to base shares the object
        EXPECT_EQ(3, base->refcount());
        EXPECT_EQ(p.get(), base.get());
    }
    EXPECT_EQ(2, deaths.load());
}

TEST(Refcount, MovingHandsTheReferenceOverWithoutCounting) {
    std::atomic<int> deaths{0};
    {
        ptr_refcount<counted> p(new counted(&deaths));
        ptr_refcount<counted> q(std::move(p));
        EXPECT_FALSE(p);  // NOLINT(bugprone-use-after-move): moved-from is documented null
        EXPECT_EQ(1, q->refcount());
        ptr_refcount<object_refcount> base(std::move(q));  // derived to base
        EXPECT_FALSE(q);                                   // NOLINT(bugprone-use-after-move)
        EXPECT_EQ(1, base->refcount());

        ptr_refcount<object_refcount> other(new counted(&deaths));
        other = std::move(base);  // the old object goes
        EXPECT_EQ(1, deaths.load());
        EXPECT_EQ(1, other->refcount());
        ptr_refcount<object_refcount>& alias = other;
        other = std::move(alias);  // self-move keeps the reference
        ASSERT_TRUE(other);
        EXPECT_EQ(1, other->refcount());

        object_refcount* const raw = other.detach();  // the caller now owns the reference
        EXPECT_FALSE(other);
        EXPECT_EQ(1, raw->refcount());
        raw->release();
    }
    EXPECT_EQ(2, deaths.load());
}

TEST(Refcount, ConcurrentRetainAndReleaseDeleteExactlyOnce) {
    std::atomic<int> deaths{0};
    for (int round = 0; round < 20; ++round) {
        auto* object = new counted(&deaths);
        object->retain();  // the test's own reference
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([object] {
                for (int i = 0; i < 2000; ++i) {
                    ptr_refcount<counted> p(object);
                    ptr_refcount<counted> q = p;
                }
            });
        }
        for (auto& t : threads)
            t.join();
        EXPECT_EQ(1, object->refcount());
        EXPECT_EQ(round, deaths.load());
        object->release();
    }
    EXPECT_EQ(20, deaths.load());
}

}  // namespace
