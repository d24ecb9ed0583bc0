// The atom walk to the timecode track of a QuickTime or ISO base media file.
#include "quicktime.hpp"

#include "nubase/bytestream.hpp"
#include "nubase/es.hpp"

namespace nubase_tool {
namespace {

constexpr std::uint32_t fourcc(const char (&a_text)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[3]));
}

std::uint32_t load_be32(const unsigned char* a_p) {
    return static_cast<std::uint32_t>(a_p[0]) << 24 | static_cast<std::uint32_t>(a_p[1]) << 16 |
           static_cast<std::uint32_t>(a_p[2]) << 8 | a_p[3];
}

std::uint64_t load_be64(const unsigned char* a_p) {
    return static_cast<std::uint64_t>(load_be32(a_p)) << 32 | load_be32(a_p + 4);
}

std::string type_text(std::uint32_t a_type) {
    std::string l_text;
    for (int l_shift = 24; l_shift >= 0; l_shift -= 8) {
        const char l_char = static_cast<char>(a_type >> l_shift);
        l_text += l_char >= 32 && l_char < 127 ? l_char : '?';
    }
    return l_text;
}

[[noreturn]] void malformed(const std::string& a_what, std::uint32_t a_type, std::uint64_t a_at) {
    throw malformed_file(a_what + " in atom '" + type_text(a_type) + "' at offset " +
                         std::to_string(a_at));
}

struct atom {
    std::uint32_t type;
    std::uint64_t start;  // offset of the header
    std::uint64_t body;   // offset of the contents
    std::uint64_t end;    // offset just past the atom
};

// Reads atoms through a byte-stream reader, jumping by seeking the source.
class walker {
  public:
    walker(nubase::stream::rda& a_source) : m_source(a_source), m_reader(a_source, 4096) {
        m_size = a_source.size();
    }

    std::uint64_t size() const { return m_size; }

    // The type of the atom at `offset`, not consumed.
    std::uint32_t peek_type(std::uint64_t a_offset) {
        go_to(a_offset);
        return load_be32(m_reader.peek_at(8) + 4);
    }

    void go_to(std::uint64_t a_offset) {
        if (m_reader.tell() == a_offset) return;
        m_source.seek(static_cast<long long>(a_offset), nubase::stream::whence_start);
        m_reader.clear(m_source);
    }

    // The n bytes at the reader's position, which must lie before `limit`.
    const unsigned char* bytes(std::uint64_t a_n, const atom& a_within) {
        if (m_reader.tell() + a_n > a_within.end)
            malformed("a table runs past the end", a_within.type, a_within.start);
        return m_reader.read_at(a_n);
    }

    // The atom header at `offset`, inside [offset, parent_end).
    atom header(std::uint64_t a_offset, std::uint64_t a_parent_end) {
        go_to(a_offset);
        const unsigned char* l_head = m_reader.read_at(8);
        atom l_atom{load_be32(l_head + 4), a_offset, a_offset + 8, 0};
        std::uint64_t l_size = load_be32(l_head);
        if (l_size == 1) {  // a 64-bit size follows the type
            l_size = load_be64(m_reader.read_at(8));
            l_atom.body += 8;
        } else if (l_size == 0) {  // runs to the end of its parent
            l_size = a_parent_end - a_offset;
        }
        if (l_size < l_atom.body - a_offset)
            malformed("a size shorter than its header", l_atom.type, a_offset);
        if (l_size > a_parent_end - a_offset)
            malformed("a size past its parent's end", l_atom.type, a_offset);
        l_atom.end = a_offset + l_size;
        return l_atom;
    }

  private:
    nubase::stream::rda& m_source;
    nubase::bytestream::rd m_reader;
    std::uint64_t m_size;
};

struct track_state {
    bool is_tmcd = false;
    bool has_description = false;
    bool has_offsets = false;
    tmcd_track track;
};

void walk(walker& a_walker, const atom& a_parent, track_state& a_state, int a_depth);

void read_handler(walker& a_walker, const atom& a_atom, track_state& a_state) {
    a_walker.go_to(a_atom.body);
    const unsigned char* l_p = a_walker.bytes(12, a_atom);  // version/flags, type, subtype
    a_state.is_tmcd = load_be32(l_p + 8) == fourcc("tmcd");
}

void read_descriptions(walker& a_walker, const atom& a_atom, track_state& a_state) {
    a_walker.go_to(a_atom.body);
    const std::uint32_t l_count = load_be32(a_walker.bytes(8, a_atom) + 4);
    std::uint64_t l_entry = a_atom.body + 8;
    for (std::uint32_t l_index = 0; l_index < l_count && !a_state.has_description; ++l_index) {
        a_walker.go_to(l_entry);
        const unsigned char* l_head = a_walker.bytes(8, a_atom);
        const std::uint32_t l_size = load_be32(l_head);
        if (l_size < 8 || l_size > a_atom.end - l_entry)
            malformed("a bad sample description size", a_atom.type, a_atom.start);
        if (load_be32(l_head + 4) == fourcc("tmcd")) {
            // reserved (6), data reference index (2), reserved (4), flags, time scale, frame
            // duration (4 each), number of frames (1).
            if (l_size < 8 + 6 + 2 + 4 + 12 + 1)
                malformed("a short timecode description", a_atom.type, a_atom.start);
            const unsigned char* l_p = a_walker.bytes(6 + 2 + 4 + 12 + 1, a_atom) + 12;
            a_state.track.flags = load_be32(l_p);
            a_state.track.time_scale = load_be32(l_p + 4);
            a_state.track.frame_duration = load_be32(l_p + 8);
            a_state.track.number_of_frames = l_p[12];
            a_state.has_description = true;
        }
        l_entry += l_size;
    }
}

void read_offsets(walker& a_walker, const atom& a_atom, track_state& a_state, bool a_64) {
    a_walker.go_to(a_atom.body);
    const std::uint32_t l_count = load_be32(a_walker.bytes(8, a_atom) + 4);
    if (l_count == 0) return;
    const unsigned char* l_p = a_walker.bytes(a_64 ? 8 : 4, a_atom);
    a_state.track.first_chunk_offset = a_64 ? load_be64(l_p) : load_be32(l_p);
    a_state.track.chunk_offsets_64 = a_64;
    a_state.has_offsets = true;
}

void walk(walker& a_walker, const atom& a_parent, track_state& a_state, int a_depth) {
    if (a_depth > 16) malformed("atoms nested too deeply", a_parent.type, a_parent.start);
    for (std::uint64_t l_offset = a_parent.body; a_parent.end - l_offset >= 8;) {
        const atom l_atom = a_walker.header(l_offset, a_parent.end);
        switch (l_atom.type) {
            case fourcc("trak"): {
                track_state l_track;
                walk(a_walker, l_atom, l_track, a_depth + 1);
                if (l_track.is_tmcd && l_track.has_description && l_track.has_offsets) {
                    a_state = l_track;
                    return;
                }
                break;
            }
            case fourcc("mdia"):
            case fourcc("minf"):
            case fourcc("stbl"):
                walk(a_walker, l_atom, a_state, a_depth + 1);
                break;
            case fourcc("hdlr"):
                // Only the media handler names the track's kind; minf's data handler does not.
                if (a_parent.type == fourcc("mdia")) read_handler(a_walker, l_atom, a_state);
                break;
            case fourcc("stsd"):
                read_descriptions(a_walker, l_atom, a_state);
                break;
            case fourcc("stco"):
                read_offsets(a_walker, l_atom, a_state, false);
                break;
            case fourcc("co64"):
                read_offsets(a_walker, l_atom, a_state, true);
                break;
            default:
                break;
        }
        l_offset = l_atom.end;
    }
}

}  // namespace

bool find_tmcd_track(nubase::stream::rda& a_source, tmcd_track& a_track) {
    try {
        walker l_walker(a_source);
        for (std::uint64_t l_offset = 0; l_walker.size() - l_offset >= 8;) {
            if (l_offset == 0) {
                // A file of another kind shows no known atom type at its start.
                const std::uint32_t l_type = l_walker.peek_type(0);
                if (l_type != fourcc("ftyp") && l_type != fourcc("moov") &&
                    l_type != fourcc("mdat") && l_type != fourcc("wide") &&
                    l_type != fourcc("free") && l_type != fourcc("skip")) {
                    throw malformed_file("not a QuickTime or MP4 file");
                }
            }
            const atom l_atom = l_walker.header(l_offset, l_walker.size());
            if (l_atom.type == fourcc("moov")) {
                track_state l_state;
                walk(l_walker, l_atom, l_state, 1);
                if (l_state.is_tmcd && l_state.has_description && l_state.has_offsets) {
                    a_track = l_state.track;
                    return true;
                }
            }
            l_offset = l_atom.end;
        }
        return false;
    } catch (const nubase::es::uflow&) {
        throw malformed_file("truncated file");
    }
}

std::uint32_t read_first_tmcd_sample(nubase::stream::rda& a_source, const tmcd_track& a_track) {
    const std::uint64_t l_size = a_source.size();
    if (a_track.first_chunk_offset > l_size || l_size - a_track.first_chunk_offset < 4) {
        throw malformed_file("the timecode sample at offset " +
                             std::to_string(a_track.first_chunk_offset) + " lies past the end");
    }
    a_source.seek(static_cast<long long>(a_track.first_chunk_offset), nubase::stream::whence_start);
    unsigned char l_sample[4];
    try {
        nubase::stream::read(a_source, l_sample, 4, 4);
    } catch (const nubase::es::uflow&) {
        throw malformed_file("truncated timecode sample");
    }
    return load_be32(l_sample);
}

}  // namespace nubase_tool
