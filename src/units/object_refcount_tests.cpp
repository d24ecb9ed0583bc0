// The library's own unit "nubase/object_refcount": counts start at 0, copies start afresh,
// drop hands the last reference over, release deletes.
#include "nubase/refcount.hpp"
#include "units/check.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/object_refcount_tests";

struct counted : object_refcount {
    explicit counted(bool* a_destroyed) : m_destroyed(a_destroyed) {}
    ~counted() override { *m_destroyed = true; }
    bool* m_destroyed;
};

void default_creation() {
    const object_refcount l_object;
    NUBASE_CHECK(l_object.refcount() == 0, "invalid reference count");
}

void trivial_copy_creation() {
    const object_refcount l_object;
    const object_refcount l_copy(l_object);
    NUBASE_CHECK(l_copy.refcount() == 0, "invalid reference count");
}

void copy_creation() {
    const object_refcount l_object;
    l_object.retain();
    const object_refcount l_copy(l_object);
    NUBASE_CHECK(l_copy.refcount() == 0, "invalid reference count");
    const object_refcount l_copy_of_copy(l_copy);
    NUBASE_CHECK(l_copy_of_copy.refcount() == 0, "invalid reference count");
    NUBASE_CHECK(l_object.drop() == &l_object, "invalid pointer returned");
}

void new_retain_and_release() {
    bool l_destroyed = false;
    counted* l_object = new counted(&l_destroyed);
    l_object->retain();
    NUBASE_CHECK(l_object->refcount() == 1, "invalid reference count");
    l_object->retain();
    NUBASE_CHECK(l_object->refcount() == 2, "invalid reference count");
    NUBASE_CHECK(l_object->drop() == nullptr, "invalid pointer returned");
    NUBASE_CHECK(l_object->refcount() == 1, "invalid reference count");
    NUBASE_CHECK(l_object->drop() == l_object, "invalid pointer returned");
    NUBASE_CHECK(l_object->refcount() == 0, "invalid reference count");
    l_object->retain();
    NUBASE_CHECK(l_object->refcount() == 1, "invalid reference count");
    l_object->release();
    NUBASE_CHECK(l_destroyed, "destructor not called");
}

struct t__unit__object_refcount : test::unit {
    t__unit__object_refcount() : unit("nubase", "object_refcount") {
        testcase("default creation", &default_creation);
        testcase("trivial copy creation", &trivial_copy_creation);
        testcase("copy creation", &copy_creation);
        testcase("new, retain and release", &new_retain_and_release);
    }
} g__unit__object_refcount;

}  // namespace
}  // namespace nubase
