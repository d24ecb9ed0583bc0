// tools/nubase/cli/json.hpp - a small JSON writer for the tool's machine-readable output.
//
// Builds one document in a string, with the commas and nesting kept by the writer, so that the
// output is valid JSON (RFC 8259) for every input: strings are escaped, and bytes that are not
// valid UTF-8 (a file name is any byte string) become U+FFFD.
//
//   json_writer j;
//   j.begin_array();
//   j.begin_object();
//   j.key("file").value("clip.mov");
//   j.key("tracks").begin_array().end_array();
//   j.key("error").null();
//   j.end_object();
//   j.end_array();
//   j.text();  // [{"file": "clip.mov", "tracks": [], "error": null}]
#ifndef NUBASE_TOOL_CLI_JSON_HPP
#define NUBASE_TOOL_CLI_JSON_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace nubase_tool {

// `text` as a JSON string literal, quotes included.
std::string json_quoted(const std::string& a_text);

class json_writer {
  public:
    json_writer& begin_object();
    json_writer& end_object();
    json_writer& begin_array();
    json_writer& end_array();
    // The key of the next member of the current object.
    json_writer& key(const std::string& a_key);
    json_writer& value(const std::string& a_text);
    json_writer& value(const char* a_text) { return value(std::string(a_text)); }
    json_writer& value(std::uint64_t a_number);
    json_writer& value(std::int64_t a_number);
    json_writer& value(std::uint32_t a_number) { return value(std::uint64_t{a_number}); }
    json_writer& value(int a_number) { return value(std::int64_t{a_number}); }
    json_writer& value(bool a_flag);
    json_writer& null();

    // The document so far.
    const std::string& text() const { return m_text; }

  private:
    void separate();  // the comma (or nothing) in front of the next value

    std::string m_text;
    std::vector<bool> m_first;  // per open container: no member written yet
    bool m_after_key = false;
};

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_CLI_JSON_HPP
