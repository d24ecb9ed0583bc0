// The byte buffer: growth rule, reallocation, overlap-safe copies, comparison.
#include "nubase/buffer.hpp"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

namespace {

using nubase::buffer;

buffer bytes(std::initializer_list<unsigned char> list) {
    return buffer(list.begin(), list.end());
}

std::string text(const buffer& b) {
    return std::string(b.data(), b.data() + b.size());
}

TEST(Buffer, ConstructorCapacities) {
    struct row {
        const char* what;
        buffer b;
        unsigned long long capacity, size;
    };
    const unsigned char src[3] = {1, 2, 3};
    const buffer roomy;  // capacity 1024, size 0
    const row rows[] = {
        {"default", buffer(), 1024, 0},
        {"hint 10", buffer(10ULL), 20, 0},
        {"hint 0", buffer(0ULL), 0, 0},
        {"fill", buffer(5ULL, static_cast<unsigned char>(0xAB)), 10, 5},
        {"pointer", buffer(3ULL, src), 6, 3},
        {"range", buffer(src, src + 2), 4, 2},
        {"copy ignores the capacity", buffer(roomy), 0, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        EXPECT_EQ(r.capacity, r.b.capacity());
        EXPECT_EQ(r.size, r.b.size());
        EXPECT_NE(nullptr, r.b.data());
    }
    EXPECT_EQ(std::string(5, '\xAB'), text(rows[3].b));
    const buffer& shared = nubase::buffer_empty_buffer();  // one default buffer for every caller
    EXPECT_EQ(&shared, &nubase::buffer_empty_buffer());
    EXPECT_EQ(1024u, shared.capacity());
    EXPECT_EQ(0u, shared.size());
}

TEST(Buffer, GrowthRuleAtItsBoundaries) {
    // From capacity 0 the rule doubles the need; otherwise it doubles until strictly greater.
    EXPECT_EQ(10u, nubase::buffer_grown_capacity(0, 5));
    EXPECT_EQ(2048u, nubase::buffer_grown_capacity(1024, 1024));
    EXPECT_EQ(64u, nubase::buffer_grown_capacity(16, 32));
    EXPECT_EQ(~0ULL, nubase::buffer_grown_capacity(1ULL << 63, 1ULL << 63));

    const std::vector<unsigned char> kilo(1024, 7);
    buffer empty(0ULL);
    empty.append(kilo.data(), 5);
    EXPECT_EQ(10u, empty.capacity());

    buffer b;  // 1024
    const unsigned char* before = b.data();
    b.append(kilo.data(), kilo.size());
    EXPECT_EQ(before, b.data()) << "a fill to exactly the capacity must not reallocate";
    b.reserve(1024);
    EXPECT_EQ(1024u, b.capacity());
    b.reserve(1025);
    EXPECT_EQ(2048u, b.capacity());
    EXPECT_EQ(std::string(1024, 7), text(b));

    buffer small(8ULL);  // capacity 16
    small.resize(16);
    EXPECT_EQ(16u, small.capacity());
    small.resize(17);
    EXPECT_EQ(32u, small.capacity());
}

TEST(Buffer, AdjustAlwaysReallocates) {
    buffer b(50ULL);  // capacity 100
    const unsigned char src[12] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'};
    b.assign(src, src + 12);
    const unsigned char* before = b.data();
    b.adjust(10);
    EXPECT_EQ(100u, b.capacity());
    EXPECT_NE(before, b.data());
    EXPECT_EQ("abcdefghij", text(b));

    buffer tight(4ULL);  // capacity 8
    tight.resize(8, 'x');
    tight.adjust(20);  // larger than the size: contents unchanged, capacity by the rule
    EXPECT_EQ(32u, tight.capacity());
    EXPECT_EQ("xxxxxxxx", text(tight));
}

TEST(Buffer, ResizeWithFill) {
    const unsigned char src[5] = {1, 2, 3, 4, 5};
    buffer b(5ULL, src);
    const unsigned char* before = b.data();
    b.resize(3, 0xFF);
    EXPECT_EQ(before, b.data());
    EXPECT_EQ(bytes({1, 2, 3}), b);
    b.resize(6, 9);
    EXPECT_EQ(bytes({1, 2, 3, 9, 9, 9}), b);
    b.resize(40, 0);  // beyond capacity 10: grows to 80, keeps the contents
    EXPECT_EQ(80u, b.capacity());
    EXPECT_EQ(40u, b.size());
    EXPECT_EQ(9, b[5]);
    EXPECT_EQ(0, b[39]);
}

TEST(Buffer, AppendAndAssignFromInsideTheSameBuffer) {
    // Without reallocation: a range overlapping the destination.
    buffer b(8ULL);  // capacity 16
    const auto* abc = reinterpret_cast<const unsigned char*>("abcdef");
    b.assign(abc, abc + 6);
    b.append(b.data() + 1, 4);
    EXPECT_EQ("abcdefbcde", text(b));
    EXPECT_EQ(16u, b.capacity());

    // With reallocation: the source lives in the array being replaced.
    b.append(b.data(), b.size());
    EXPECT_EQ("abcdefbcdeabcdefbcde", text(b));
    EXPECT_EQ(32u, b.capacity());

    // Assign from a range inside the buffer moves it to the front.
    b.assign(b.data() + 2, b.data() + 6);
    EXPECT_EQ("cdef", text(b));
    b.assign(b.data(), b.data());
    EXPECT_TRUE(b.empty());

    // An assign that must grow allocates for its length alone.
    buffer small(2ULL);  // capacity 4
    const std::vector<unsigned char> ten(10, 'q');
    small.assign(ten.data(), ten.data() + ten.size());
    EXPECT_EQ(16u, small.capacity());
    EXPECT_EQ(std::string(10, 'q'), text(small));
}

TEST(Buffer, ImpossibleSizesFailAndLeaveTheBufferAsItWas) {
    const unsigned char src[3] = {1, 2, 3};
    buffer b(3ULL, src);
    const unsigned char* before = b.data();
    EXPECT_THROW(b.reserve(~0ULL), std::bad_alloc);
    EXPECT_THROW(b.resize(1ULL << 63), std::bad_alloc);
    EXPECT_THROW(b.resize(~0ULL, 0), std::bad_alloc);
    volatile unsigned long long huge = ~0ULL - 1;  // opaque, so the compiler cannot see it
    EXPECT_THROW(b.append(b.data(), huge), std::bad_alloc);
    EXPECT_EQ(before, b.data());
    EXPECT_EQ(6u, b.capacity());
    EXPECT_EQ(bytes({1, 2, 3}), b);
    EXPECT_THROW(buffer(~0ULL), std::bad_alloc);
}

TEST(Buffer, ComparisonIsUnsignedLexicographic) {
    struct row {
        buffer left, right;
        bool less, less_equal, equal;
    };
    const row rows[] = {
        {bytes({1, 2}), bytes({1, 2, 0}), true, true, false},
        {bytes({1, 3}), bytes({1, 2, 0xFF}), false, false, false},
        {bytes({0x80}), bytes({0x7F}), false, false, false},
        {bytes({}), bytes({}), false, true, true},
        {bytes({}), bytes({0}), true, true, false},
        {bytes({5, 6}), bytes({5, 6}), false, true, true},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(r.less, r.left < r.right);
        EXPECT_EQ(r.less_equal, r.left <= r.right);
        EXPECT_EQ(r.equal, r.left == r.right);
        EXPECT_EQ(!r.equal, r.left != r.right);
    }
    // Capacities play no part.
    buffer roomy(100ULL);
    roomy.append(bytes({4}).data(), 1);
    EXPECT_EQ(bytes({4}), roomy);
}

TEST(Buffer, SwapAndCopyAssignment) {
    buffer a = bytes({1, 2, 3});
    buffer b(1ULL);
    const unsigned char* a_data = a.data();
    a.swap(b);
    EXPECT_EQ(a_data, b.data());
    EXPECT_EQ(2u, a.capacity());
    EXPECT_EQ(bytes({1, 2, 3}), b);

    a = b;
    EXPECT_EQ(b, a);
    EXPECT_NE(a.data(), b.data());
    const buffer& same = a;
    a = same;
    EXPECT_EQ(bytes({1, 2, 3}), a);
}

}  // namespace
