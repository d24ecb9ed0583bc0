// The library's own units "nubase/object" (the counted object used as a plain base class) and
// "nubase/types" (the sizes of the fixed-width types).
#include "nubase/config.hpp"
#include "nubase/refcount.hpp"
#include "units/check.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/object_tests";

// A value type derived from the counted base, never retained: owners destroy it directly.
struct sample : object_refcount {
    explicit sample(int a_value, bool* a_destroyed) : m_value(a_value), m_destroyed(a_destroyed) {}
    ~sample() override { *m_destroyed = true; }
    int m_value;
    bool* m_destroyed;
};

void object_default_creation() {
    bool l_destroyed = false;
    object_refcount* l_object = new sample(7, &l_destroyed);
    NUBASE_CHECK(l_object->refcount() == 0, "invalid reference count");
    delete l_object;  // through the base: the virtual destructor must reach the derived class
    NUBASE_CHECK(l_destroyed, "destructor not called");
}

void object_copy_creation() {
    bool l_destroyed = false;
    {
        sample l_original(7, &l_destroyed);
        l_original.retain();
        const sample l_copy(l_original);
        NUBASE_CHECK(l_copy.m_value == 7, "value not copied");
        NUBASE_CHECK(l_copy.refcount() == 0, "invalid reference count");
        NUBASE_CHECK(l_original.refcount() == 1, "invalid reference count");
        NUBASE_CHECK(l_original.drop() == &l_original, "invalid pointer returned");
    }
    NUBASE_CHECK(l_destroyed, "destructor not called");
}

struct t__unit__object : test::unit {
    t__unit__object() : unit("nubase", "object") {
        testcase("default creation", &object_default_creation);
        testcase("copy creation", &object_copy_creation);
    }
} g__unit__object;

template <class T, std::size_t Size>
void type_size() {
    NUBASE_CHECK(sizeof(T) == Size, "invalid type size");
}

struct t__unit__types : test::unit {
    t__unit__types() : unit("nubase", "types") {
        testcase("type size sint8", &type_size<sint8, 1>);
        testcase("type size sint16", &type_size<sint16, 2>);
        testcase("type size sint32", &type_size<sint32, 4>);
        testcase("type size sint64", &type_size<sint64, 8>);
        testcase("type size uint8", &type_size<uint8, 1>);
        testcase("type size uint16", &type_size<uint16, 2>);
        testcase("type size uint32", &type_size<uint32, 4>);
        testcase("type size uint64", &type_size<uint64, 8>);
        testcase("type size float32", &type_size<float32, 4>);
        testcase("type size float64", &type_size<float64, 8>);
    }
} g__unit__types;

}  // namespace
}  // namespace nubase
