// tools/nubase/media/input.hpp - a file named on the command line, opened for the container
// readers: a regular file is read with seeks; standard input ("-"), pipes, FIFOs and character
// devices are read through from the front, with the position counted.
#ifndef NUBASE_TOOL_MEDIA_INPUT_HPP
#define NUBASE_TOOL_MEDIA_INPUT_HPP

#include <memory>
#include <stdexcept>
#include <string>

#include "nubase/stream.hpp"

namespace nubase_tool {

// A file that cannot be opened or read. The message is one plain phrase without the file name
// ("cannot open: No such file or directory", "is a directory").
class input_error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class media_input {
  public:
    // Opens `path` ("-" is standard input, which is not closed). Raises `input_error`.
    explicit media_input(const std::string& a_path);
    ~media_input();
    media_input(const media_input&) = delete;
    media_input& operator=(const media_input&) = delete;

    // The stream to read; `seekable()` is the same stream when the input is a regular file, and
    // null otherwise. Read failures raise `input_error`.
    nubase::stream::rd& stream();
    nubase::stream::rda* seekable();
    // Up to n of the first bytes, for telling the container by its content. Read before the
    // stream is used; a pipe gives them to the stream again as its first bytes.
    std::string front(std::size_t a_n);

  private:
    class reader;
    int m_fd = -1;
    bool m_owned = false;
    std::unique_ptr<reader> m_reader;
};

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_INPUT_HPP
