// A seekable reader over a library `file`.
#include "file_stream.hpp"

#include <fcntl.h>

#include "nubase/es.hpp"

namespace nubase_tool {

file_reader::file_reader(const std::string& a_path) : m_file(a_path, O_RDONLY | O_CLOEXEC, 0) {}

file_reader::~file_reader() {
    try {
        m_file.close();
    } catch (const nubase::es::base&) {
        // A failed close of a file only read from loses nothing.
    }
}

unsigned long long file_reader::read(void* a_p, unsigned long long a_n) {
    return m_file.read(a_p, a_n);
}

unsigned long long file_reader::seek(long long a_offset, nubase::stream::whence a_whence) {
    return m_file.seek(static_cast<unsigned long long>(a_offset), static_cast<int>(a_whence));
}

unsigned long long file_reader::size() {
    return m_file.size();
}

}  // namespace nubase_tool
