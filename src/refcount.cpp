// Reference counting: the out-of-line destructor anchors the class's vtable and type information
// in the library.
#include "nubase/refcount.hpp"

namespace nubase {

object_refcount::~object_refcount() = default;

}  // namespace nubase
