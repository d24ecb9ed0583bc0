// The atom walk to the timecode tracks of a QuickTime or ISO base media file.
#include "quicktime.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <vector>

#include "nubase/bytestream.hpp"
#include "nubase/es.hpp"
#include "fourcc.hpp"
#include "walk_input.hpp"

namespace nubase_tool {
namespace {

// The largest atom read into memory whole (a movie header's sample tables are far smaller).
constexpr std::uint64_t k_atom_limit = 256ull << 20;

[[noreturn]] void malformed(const std::string& a_what, std::uint32_t a_type, std::uint64_t a_at) {
    throw malformed_file("malformed file: " + a_what + " in atom '" + fourcc_text(a_type) +
                         "' at offset " + std::to_string(a_at));
}

struct atom {
    std::uint32_t type;
    std::uint64_t start;  // offset of the header
    std::uint64_t body;   // offset of the contents
    std::uint64_t end;    // offset just past the atom
};

// The fields of one atom's contents, held in memory and read with the library's byte reader.
// A read past the contents is a structural fault of that atom.
class fields {
  public:
    fields(const atom& a_atom, std::vector<unsigned char> a_body)
        : m_atom(a_atom),
          m_body(std::move(a_body)),
          m_mem(m_body.data(), m_body.size()),
          m_rd(m_mem, 64) {}

    std::uint8_t u8() {
        return guard([&] { return m_rd.read_at(1)[0]; });
    }
    std::uint16_t u16() {
        return guard([&] { return m_rd.read_be16(); });
    }
    std::uint32_t u32() {
        return guard([&] { return m_rd.read_be32(); });
    }
    std::uint64_t u64() {
        return guard([&] { return m_rd.read_be64(); });
    }
    void skip(std::uint64_t a_n) {
        guard([&] {
            m_rd.skip(a_n);
            return 0;
        });
    }
    std::uint64_t left() const { return m_body.size() - m_rd.tell(); }
    std::uint64_t at() const { return m_rd.tell(); }  // from the start of the contents
    const atom& source() const { return m_atom; }

  private:
    template <class Read>
    auto guard(Read a_read) -> decltype(a_read()) {
        try {
            return a_read();
        } catch (const nubase::es::uflow&) {
            malformed("a table runs past the end", m_atom.type, m_atom.start);
        }
    }

    atom m_atom;
    std::vector<unsigned char> m_body;
    nubase::stream::mem m_mem;
    nubase::bytestream::rd m_rd;
};

// The header of the atom at the input's position, inside a parent that ends at `limit`.
atom read_header(walk_input& a_in, std::uint64_t a_limit) {
    const nubase::bytestream::rd& l_rd = a_in.reader();
    const std::uint64_t l_at = a_in.tell();
    atom l_atom{0, l_at, l_at + 8, 0};
    std::uint64_t l_size = l_rd.read_be32();
    l_atom.type = l_rd.read_be32();
    if (l_size == 1) {  // a 64-bit size follows the type
        l_size = l_rd.read_be64();
        l_atom.body += 8;
    } else if (l_size == 0) {  // runs to the end of its parent
        l_size = a_limit == k_no_end ? k_no_end - l_at : a_limit - l_at;
    }
    if (l_size < l_atom.body - l_at) malformed("a size shorter than its header", l_atom.type, l_at);
    l_atom.end = l_size > k_no_end - l_at ? k_no_end : l_at + l_size;
    return l_atom;
}

// The contents of `atom`, read whole.
fields read_contents(walk_input& a_in, const atom& a_atom) {
    if (a_atom.end - a_atom.body > k_atom_limit)
        malformed("an atom too large to read", a_atom.type, a_atom.start);
    return fields(a_atom, a_in.read(a_atom.end - a_atom.body));
}

// What the walk gathers about one track.
struct track_facts {
    std::uint32_t track_id = 0;
    bool enabled = true;
    std::uint32_t handler = 0;
    std::vector<std::uint32_t> tmcd_refs;  // 'tref'/'tmcd' of a video track
    bool has_description = false;
    timecode_source source;
    bool has_chunk = false;
    std::uint64_t first_chunk = 0;
    std::uint32_t first_sample_size = 4;  // 'stsz' tells; timecode samples are 4 bytes
};

// Defaults of a movie's fragments ('trex'), and what the fragments give each track.
struct fragment_facts {
    std::uint32_t default_duration = 0, default_size = 0;
    bool has_sample = false;
    std::uint64_t first_sample = 0;
    std::uint32_t first_size = 0;
    bool exact = true;
    std::uint64_t duration = 0;
};

struct walk_state {
    std::vector<track_facts> tracks;  // in file order
    std::map<std::uint32_t, fragment_facts> fragments;
    bool movie = false;
    kept_bytes kept{k_pipe_keep};
};

void read_track_header(fields& a_f, track_facts& a_track) {
    const std::uint8_t l_version = a_f.u8();
    const std::uint32_t l_flags = a_f.u8() << 16 | a_f.u16();
    a_f.skip(l_version == 1 ? 16 : 8);  // creation and modification times
    a_track.track_id = a_f.u32();
    a_track.enabled = (l_flags & 1) != 0;
}

void read_media_header(fields& a_f, track_facts& a_track) {
    const std::uint8_t l_version = a_f.u8();
    a_f.skip(3 + (l_version == 1 ? 16 : 8));
    a_track.source.media_time_scale = a_f.u32();
}

void read_handler(fields& a_f, track_facts& a_track) {
    a_f.skip(8);  // version, flags, component type
    a_track.handler = a_f.u32();
}

void read_references(fields& a_f, track_facts& a_track) {
    while (a_f.left() >= 8) {
        const std::uint32_t l_size = a_f.u32(), l_type = a_f.u32();
        if (l_size < 8 || l_size - 8 > a_f.left())
            malformed("a bad track reference size", a_f.source().type, a_f.source().start);
        for (std::uint32_t l_i = 0; l_i + 4 <= l_size - 8; l_i += 4) {
            const std::uint32_t l_id = a_f.u32();
            if (l_type == fourcc("tmcd")) a_track.tmcd_refs.push_back(l_id);
        }
        a_f.skip((l_size - 8) % 4);
    }
}

// A 'name' atom after the number of frames: a 16-bit length, a 16-bit language, the text.
std::string read_reel(fields& a_f, std::uint64_t a_entry_end) {
    while (a_entry_end - a_f.at() >= 8) {
        const std::uint64_t l_start = a_f.at();
        const std::uint32_t l_size = a_f.u32(), l_type = a_f.u32();
        if (l_size < 8 || l_size > a_entry_end - l_start)
            malformed("a bad timecode description", a_f.source().type, a_f.source().start);
        if (l_type == fourcc("name") && l_size >= 12) {
            const std::uint16_t l_length = a_f.u16();
            a_f.skip(2);
            std::string l_text;
            for (std::uint32_t l_i = 0; l_i < l_length && a_f.at() < l_start + l_size; ++l_i)
                l_text += static_cast<char>(a_f.u8());
            a_f.skip(l_start + l_size - a_f.at());
            return l_text;
        }
        a_f.skip(l_size - 8);
    }
    return std::string();
}

void read_descriptions(fields& a_f, track_facts& a_track) {
    a_f.skip(4);
    const std::uint32_t l_count = a_f.u32();
    for (std::uint32_t l_index = 0; l_index < l_count && !a_track.has_description; ++l_index) {
        const std::uint64_t l_entry = a_f.at();
        const std::uint32_t l_size = a_f.u32(), l_type = a_f.u32();
        if (l_size < 8 || l_size > a_f.left() + 8)
            malformed("a bad sample description size", a_f.source().type, a_f.source().start);
        if (l_type != fourcc("tmcd")) {
            a_f.skip(l_size - 8);
            continue;
        }
        // reserved (6), data reference index (2), reserved (4), flags, time scale, frame
        // duration (4 each), number of frames (1), reserved (1), then optional atoms.
        if (l_size < 8 + 6 + 2 + 4 + 12 + 1)
            malformed("a short timecode description", a_f.source().type, a_f.source().start);
        a_f.skip(12);
        timecode_source& l_s = a_track.source;
        l_s.flags = a_f.u32();
        l_s.time_scale = a_f.u32();
        l_s.frame_duration = a_f.u32();
        l_s.number_of_frames = a_f.u8();
        if (l_entry + l_size - a_f.at() >= 1) a_f.skip(1);
        l_s.reel = read_reel(a_f, l_entry + l_size);
        a_track.has_description = true;
    }
}

void read_durations(fields& a_f, track_facts& a_track) {
    a_f.skip(4);
    const std::uint32_t l_count = a_f.u32();
    for (std::uint32_t l_i = 0; l_i < l_count; ++l_i) {
        const std::uint64_t l_samples = a_f.u32();
        a_track.source.media_duration += l_samples * a_f.u32();
    }
}

void read_sizes(fields& a_f, track_facts& a_track) {
    a_f.skip(4);
    const std::uint32_t l_size = a_f.u32(), l_count = a_f.u32();
    a_track.first_sample_size = l_size != 0 || l_count == 0 ? l_size : a_f.u32();
}

void read_offsets(fields& a_f, track_facts& a_track, bool a_64) {
    a_f.skip(4);
    if (a_f.u32() == 0) return;
    a_track.first_chunk = a_64 ? a_f.u64() : a_f.u32();
    a_track.has_chunk = true;
}

void read_track_extends(fields& a_f, walk_state& a_state) {
    a_f.skip(4);
    fragment_facts& l_frag = a_state.fragments[a_f.u32()];
    a_f.skip(4);  // default sample description index
    l_frag.default_duration = a_f.u32();
    l_frag.default_size = a_f.u32();
}

// A track fragment: 'tfhd' then its 'trun's, from the contents of 'traf'. `data_end` is where
// the previous track fragment's data ended (its base for a 'tfhd' without an explicit one).
void read_track_fragment(fields& a_f, std::uint64_t a_moof, bool a_first_traf,
                         std::uint64_t& a_data_end, walk_state& a_state) {
    fragment_facts* l_frag = nullptr;
    std::uint64_t l_base = 0;
    std::uint32_t l_duration = 0, l_size = 0;
    bool l_exact = true;
    while (a_f.left() >= 8) {
        const std::uint64_t l_start = a_f.at();
        const std::uint32_t l_atom_size = a_f.u32(), l_type = a_f.u32();
        if (l_atom_size < 8 || l_atom_size - 8 > a_f.left())
            malformed("a bad size inside a track fragment", a_f.source().type, a_f.source().start);
        if (l_type == fourcc("tfhd")) {
            const std::uint32_t l_flags = a_f.u32() & 0xFFFFFF;
            l_frag = &a_state.fragments[a_f.u32()];
            l_duration = l_frag->default_duration;
            l_size = l_frag->default_size;
            if ((l_flags & 0x1) != 0) {
                l_base = a_f.u64();
            } else if ((l_flags & 0x20000) != 0 || a_first_traf) {
                l_base = a_moof;
            } else {
                l_base = a_data_end;
                l_exact = a_data_end != k_no_end;
            }
            if ((l_flags & 0x2) != 0) a_f.skip(4);
            if ((l_flags & 0x8) != 0) l_duration = a_f.u32();
            if ((l_flags & 0x10) != 0) l_size = a_f.u32();
        } else if (l_type == fourcc("trun") && l_frag != nullptr) {
            const std::uint32_t l_flags = a_f.u32() & 0xFFFFFF, l_count = a_f.u32();
            std::uint64_t l_data = l_base;
            if ((l_flags & 0x1) != 0) l_data = l_base + static_cast<std::int32_t>(a_f.u32());
            if ((l_flags & 0x4) != 0) a_f.skip(4);
            bool l_sizes_known = true;
            for (std::uint32_t l_i = 0; l_i < l_count; ++l_i) {
                const std::uint32_t l_d = (l_flags & 0x100) != 0 ? a_f.u32() : l_duration;
                const std::uint32_t l_s = (l_flags & 0x200) != 0 ? a_f.u32() : l_size;
                if ((l_flags & 0x400) != 0) a_f.skip(4);
                if ((l_flags & 0x800) != 0) a_f.skip(4);
                if (l_i == 0 && !l_frag->has_sample) {
                    l_frag->has_sample = true;
                    l_frag->first_sample = l_data;
                    l_frag->first_size = l_s;
                    l_frag->exact = l_exact;
                }
                l_frag->duration += l_d;
                l_sizes_known = l_sizes_known && l_s != 0;
                l_data += l_s;
            }
            l_base = l_data;
            a_data_end = l_sizes_known && l_exact ? l_data : k_no_end;
        }
        a_f.skip(l_start + l_atom_size - a_f.at());
    }
}

void walk(walk_input& a_in, const atom& a_parent, track_facts* a_track, walk_state& a_state,
          int a_depth);

// One atom inside a container: descends, reads or skips it.
void visit(walk_input& a_in, const atom& a_parent, const atom& a_atom, track_facts* a_track,
           walk_state& a_state, int a_depth) {
    const auto l_read = [&] { return read_contents(a_in, a_atom); };
    const bool l_tmcd = a_track != nullptr && a_track->handler == fourcc("tmcd");
    switch (a_atom.type) {
        case fourcc("trak"): {
            track_facts l_track;
            walk(a_in, a_atom, &l_track, a_state, a_depth + 1);
            a_state.tracks.push_back(l_track);
            return;
        }
        case fourcc("mdia"):
        case fourcc("minf"):
        case fourcc("stbl"):
        case fourcc("mvex"):
        case fourcc("tref"):
            if (a_atom.type == fourcc("tref") && a_track != nullptr) {
                fields l_f = l_read();
                read_references(l_f, *a_track);
                return;
            }
            walk(a_in, a_atom, a_track, a_state, a_depth + 1);
            return;
        case fourcc("tkhd"):
            if (a_track != nullptr) {
                fields l_f = l_read();
                read_track_header(l_f, *a_track);
                return;
            }
            break;
        case fourcc("mdhd"):
            if (a_track != nullptr) {
                fields l_f = l_read();
                read_media_header(l_f, *a_track);
                return;
            }
            break;
        case fourcc("hdlr"):
            // Only the media handler names the track's kind; minf's data handler does not.
            if (a_track != nullptr && a_parent.type == fourcc("mdia")) {
                fields l_f = l_read();
                read_handler(l_f, *a_track);
                return;
            }
            break;
        case fourcc("trex"): {
            fields l_f = l_read();
            read_track_extends(l_f, a_state);
            return;
        }
        case fourcc("stsd"):
        case fourcc("stts"):
        case fourcc("stsz"):
        case fourcc("stco"):
        case fourcc("co64"):
            if (l_tmcd) {
                fields l_f = l_read();
                if (a_atom.type == fourcc("stsd")) read_descriptions(l_f, *a_track);
                if (a_atom.type == fourcc("stts")) read_durations(l_f, *a_track);
                if (a_atom.type == fourcc("stsz")) read_sizes(l_f, *a_track);
                if (a_atom.type == fourcc("stco")) read_offsets(l_f, *a_track, false);
                if (a_atom.type == fourcc("co64")) read_offsets(l_f, *a_track, true);
                return;
            }
            break;
        default:
            break;
    }
    a_in.skip_to(a_atom.end);
}

void walk(walk_input& a_in, const atom& a_parent, track_facts* a_track, walk_state& a_state,
          int a_depth) {
    if (a_depth > 16) malformed("atoms nested too deeply", a_parent.type, a_parent.start);
    while (a_parent.end - a_in.tell() >= 8) {
        const atom l_atom = read_header(a_in, a_parent.end);
        if (l_atom.end > a_parent.end)
            malformed("a size past its parent's end", l_atom.type, l_atom.start);
        visit(a_in, a_parent, l_atom, a_track, a_state, a_depth);
        a_in.skip_to(l_atom.end);
    }
    a_in.skip_to(a_parent.end);
}

void read_fragment(walk_input& a_in, const atom& a_moof, walk_state& a_state) {
    std::uint64_t l_data_end = k_no_end;
    bool l_first = true;
    while (a_moof.end - a_in.tell() >= 8) {
        const atom l_atom = read_header(a_in, a_moof.end);
        if (l_atom.end > a_moof.end)
            malformed("a size past its parent's end", l_atom.type, l_atom.start);
        if (l_atom.type == fourcc("traf")) {
            fields l_f = read_contents(a_in, l_atom);
            read_track_fragment(l_f, a_moof.start, l_first, l_data_end, a_state);
            l_first = false;
        }
        a_in.skip_to(l_atom.end);
    }
    a_in.skip_to(a_moof.end);
    // Samples now known are taken from a pipe as the media data goes by.
    for (const auto& [l_id, l_frag] : a_state.fragments)
        if (l_frag.has_sample && l_frag.first_size != 0)
            a_state.kept.wanted.emplace(l_frag.first_sample, l_frag.first_size);
}

// The atom types a movie may begin with.
bool known_first_atom(std::uint32_t a_type) {
    for (const std::uint32_t l_type :
         {fourcc("ftyp"), fourcc("moov"), fourcc("mdat"), fourcc("wide"), fourcc("free"),
          fourcc("skip"), fourcc("styp"), fourcc("sidx"), fourcc("pnot"), fourcc("uuid")})
        if (a_type == l_type) return true;
    return false;
}

// Walks the top level; returns with every atom read or passed.
void walk_top(walk_input& a_in, walk_state& a_state) {
    bool l_first = true;
    while (a_in.has(8)) {
        const atom l_atom = read_header(a_in, a_in.end());
        if (l_first && !known_first_atom(l_atom.type))
            throw malformed_file("not a QuickTime or MP4 file");
        l_first = false;
        const bool l_past_end = a_in.end() != k_no_end && l_atom.end > a_in.end();
        if (l_atom.type == fourcc("mdat")) {
            if (l_past_end && !a_state.movie)
                throw malformed_file(
                    "the media data runs past the end of the file; the movie header is missing");
            if (l_past_end) return;  // a recording cut inside its media data
            try {
                a_in.skip_to(l_atom.end, &a_state.kept);
            } catch (const nubase::es::uflow&) {
                if (!a_state.movie)
                    throw malformed_file(
                        "the media data runs past the end of the file; the movie header is "
                        "missing");
                return;
            }
            continue;
        }
        if (l_past_end) malformed("a size past its parent's end", l_atom.type, l_atom.start);
        if (l_atom.type == fourcc("moov")) {
            walk(a_in, l_atom, nullptr, a_state, 1);
            a_state.movie = true;
            for (const track_facts& l_track : a_state.tracks)
                if (l_track.has_chunk && l_track.first_sample_size != 0)
                    a_state.kept.wanted.emplace(l_track.first_chunk, l_track.first_sample_size);
        } else if (l_atom.type == fourcc("moof")) {
            read_fragment(a_in, l_atom, a_state);
        } else {
            a_in.skip_to(l_atom.end);
        }
    }
}

// A timecode description the labels can be made from: a rate, and for a track that is not a
// counter, a number of frames that is that rate rounded, drop-frame only at 30 or 60.
void check_description(const timecode_source& a_s) {
    const auto l_bad = [](const std::string& a_what) {
        throw malformed_file("an inconsistent timecode description: " + a_what);
    };
    if (a_s.time_scale == 0) l_bad("a time scale of 0");
    if (a_s.frame_duration == 0) l_bad("a frame duration of 0");
    const std::uint64_t l_rounded =
        (2ull * a_s.time_scale + a_s.frame_duration) / (2ull * a_s.frame_duration);
    if (a_s.counter()) return;
    if (l_rounded == 0)
        l_bad("a rate below one frame a second (" + std::to_string(a_s.time_scale) + "/" +
              std::to_string(a_s.frame_duration) + ")");
    if (a_s.number_of_frames != l_rounded)
        l_bad(std::to_string(a_s.number_of_frames) + " frames a second at a rate of " +
              std::to_string(a_s.time_scale) + "/" + std::to_string(a_s.frame_duration));
    if (a_s.drop_frame() && a_s.number_of_frames != 30 && a_s.number_of_frames != 60)
        l_bad("drop-frame at " + std::to_string(a_s.number_of_frames) + " frames a second");
}

std::uint32_t load_be32(const std::vector<unsigned char>& a_bytes) {
    nubase::stream::mem l_mem(const_cast<unsigned char*>(a_bytes.data()), a_bytes.size());
    nubase::bytestream::rd l_rd(l_mem, 8);
    return l_rd.read_be32();
}

// The first sample of each timecode track, from the file or from what a pipe kept.
void take_sample(walk_input& a_in, const kept_bytes& a_kept, timecode_source& a_s) {
    if (a_s.sample_size < 4)
        throw malformed_file("malformed file: a timecode sample of " +
                             std::to_string(a_s.sample_size) + " bytes");
    std::vector<unsigned char> l_bytes;
    if (a_in.seekable()) {
        if (!a_in.fetch(a_s.sample_offset, 4, l_bytes))
            throw malformed_file("the timecode sample at offset " +
                                 std::to_string(a_s.sample_offset) +
                                 " lies past the end of the file");
    } else if (!a_kept.find(a_s.sample_offset, 4, l_bytes)) {
        throw malformed_file("the timecode sample lies past what a pipe can keep; give the file");
    }
    l_bytes.resize(4);
    a_s.sample_value = load_be32(l_bytes);
}

// The timecode tracks with their samples, primary first.
movie_timecode gather(walk_input& a_in, walk_state& a_state) {
    movie_timecode l_movie;
    std::uint32_t l_primary = 0;
    for (const track_facts& l_track : a_state.tracks)
        if (l_primary == 0 && l_track.handler == fourcc("vide") && !l_track.tmcd_refs.empty())
            l_primary = l_track.tmcd_refs.front();
    for (const track_facts& l_track : a_state.tracks) {
        if (l_track.handler != fourcc("tmcd") || !l_track.has_description) continue;
        timecode_source l_s = l_track.source;
        l_s.track_id = l_track.track_id;
        l_s.enabled = l_track.enabled;
        for (const track_facts& l_video : a_state.tracks)
            if (l_video.handler == fourcc("vide") &&
                std::count(l_video.tmcd_refs.begin(), l_video.tmcd_refs.end(), l_s.track_id) != 0)
                l_s.video_track_ids.push_back(l_video.track_id);
        const auto l_frag = a_state.fragments.find(l_s.track_id);
        if (l_track.has_chunk) {
            l_s.sample_offset = l_track.first_chunk;
            l_s.sample_size = l_track.first_sample_size;
        } else if (l_frag != a_state.fragments.end() && l_frag->second.has_sample) {
            l_s.fragmented = true;
            l_s.sample_offset = l_frag->second.first_sample;
            l_s.sample_size = l_frag->second.first_size;
            l_s.sample_exact = l_frag->second.exact;
        } else {
            continue;  // a timecode track without samples
        }
        if (l_frag != a_state.fragments.end()) l_s.media_duration += l_frag->second.duration;
        check_description(l_s);
        take_sample(a_in, a_state.kept, l_s);
        l_movie.tracks.push_back(l_s);
    }
    std::stable_sort(l_movie.tracks.begin(), l_movie.tracks.end(),
                     [l_primary](const timecode_source& a_x, const timecode_source& a_y) {
                         if ((a_x.track_id == l_primary) != (a_y.track_id == l_primary))
                             return a_x.track_id == l_primary;
                         return a_x.track_id < a_y.track_id;
                     });
    return l_movie;
}

}  // namespace

movie_timecode read_quicktime(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable) {
    walk_input l_in(a_source, a_seekable);
    walk_state l_state;
    try {
        walk_top(l_in, l_state);
    } catch (const nubase::es::uflow&) {
        if (!l_state.movie) throw malformed_file("no movie header: the file may be incomplete");
        throw malformed_file("truncated file: it ends inside an atom");
    }
    if (!l_state.movie) throw malformed_file("no movie header: the file may be incomplete");
    return gather(l_in, l_state);
}

}  // namespace nubase_tool
