// tools/nubase/file_stream.hpp - a seekable reader over a library `file`, so that byte- and
// bit-stream readers can parse files on disk.
#ifndef NUBASE_TOOL_FILE_STREAM_HPP
#define NUBASE_TOOL_FILE_STREAM_HPP

#include <string>

#include "nubase/file.hpp"
#include "nubase/stream.hpp"

namespace nubase_tool {

class file_reader : public nubase::stream::rda {
  public:
    // Opens `path` for reading; raises `es::file` (with the path) when it cannot.
    explicit file_reader(const std::string& a_path);
    // Closes the descriptor (a `file` never closes on its own).
    ~file_reader() override;
    file_reader(const file_reader&) = delete;
    file_reader& operator=(const file_reader&) = delete;

    unsigned long long read(void* a_p, unsigned long long a_n) override;
    unsigned long long seek(long long a_offset, nubase::stream::whence a_whence) override;
    unsigned long long size() override;

  private:
    nubase::file m_file;
};

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_FILE_STREAM_HPP
