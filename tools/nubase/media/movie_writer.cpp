// Small QuickTime and ISO base media files, written with the library's byte-stream writer.
#include "movie_writer.hpp"

#include <cstring>
#include <initializer_list>

#include "nubase/bytestream.hpp"
#include "nubase/stream.hpp"

namespace nubase_tool {
namespace {

// Builds one atom's contents through a byte-stream writer over a buffer.
class atom_builder {
  public:
    atom_builder() : m_stream(m_bytes), m_writer(m_stream, 256) {}

    atom_builder& be32(std::uint32_t a_value) {
        m_writer.write_be32(a_value);
        return *this;
    }
    atom_builder& be64(std::uint64_t a_value) {
        m_writer.write_be64(a_value);
        return *this;
    }
    atom_builder& byte(unsigned a_value) {
        *m_writer.write_at(1) = static_cast<unsigned char>(a_value);
        return *this;
    }
    atom_builder& text(const char* a_four) {
        std::memcpy(m_writer.write_at(4), a_four, 4);
        return *this;
    }
    atom_builder& zeros(unsigned a_count) {
        m_writer.skip(a_count);
        return *this;
    }
    atom_builder& bytes(const nubase::buffer& a_bytes) {
        m_writer.write(a_bytes.data(), a_bytes.size());
        return *this;
    }
    // The contents so far.
    nubase::buffer finish() {
        m_writer.clear(m_stream);  // hands the pending bytes to the buffer
        return m_bytes;
    }

  private:
    nubase::buffer m_bytes{0ULL};
    nubase::stream::buf m_stream;
    nubase::bytestream::wr m_writer;
};

nubase::buffer atom(const char* a_type, const nubase::buffer& a_body) {
    return atom_builder()
        .be32(static_cast<std::uint32_t>(a_body.size() + 8))
        .text(a_type)
        .bytes(a_body)
        .finish();
}

nubase::buffer atom(const char* a_type, std::initializer_list<nubase::buffer> a_children) {
    atom_builder l_body;
    for (const nubase::buffer& l_child : a_children)
        l_body.bytes(l_child);
    return atom(a_type, l_body.finish());
}

nubase::buffer handler(const char* a_component, const char* a_subtype) {
    return atom(
        "hdlr",
        atom_builder().be32(0).text(a_component).text(a_subtype).zeros(12).byte(0).finish());
}

// A track's sample tables: one sample of `duration` in one chunk at `chunk_offset`, or none.
nubase::buffer sample_tables(const nubase::buffer& a_description, std::uint64_t a_chunk_offset,
                             bool a_64, std::uint32_t a_duration, bool a_samples) {
    const std::uint32_t l_count = a_samples ? 1 : 0;
    atom_builder l_times, l_chunks, l_sizes, l_offsets;
    l_times.be32(0).be32(l_count);
    l_chunks.be32(0).be32(l_count);
    l_sizes.be32(0).be32(a_samples ? 4 : 0).be32(l_count);
    l_offsets.be32(0).be32(l_count);
    if (a_samples) {
        l_times.be32(1).be32(a_duration);
        l_chunks.be32(1).be32(1).be32(1);
        if (a_64) {
            l_offsets.be64(a_chunk_offset);
        } else {
            l_offsets.be32(static_cast<std::uint32_t>(a_chunk_offset));
        }
    }
    return atom("stbl",
                {atom("stsd", atom_builder().be32(0).be32(1).bytes(a_description).finish()),
                 atom("stts", l_times.finish()), atom("stsc", l_chunks.finish()),
                 atom("stsz", l_sizes.finish()), atom(a_64 ? "co64" : "stco", l_offsets.finish())});
}

struct track_spec {
    std::uint32_t id;
    bool enabled;
    const char* handler;
    nubase::buffer description;
    std::uint32_t time_scale, duration;  // the media's time scale and the sample's duration
    std::uint64_t chunk_offset;
    std::uint32_t reference;  // a 'tref'/'tmcd' to this track id, 0 for none
};

nubase::buffer track(const track_spec& a_t, bool a_64, bool a_samples) {
    atom_builder l_header;
    l_header.be32(a_t.enabled ? 0xF : 0xE).zeros(8).be32(a_t.id).zeros(68);
    atom_builder l_children;
    l_children.bytes(atom("tkhd", l_header.finish()));
    if (a_t.reference != 0)
        l_children.bytes(atom("tref", {atom("tmcd", atom_builder().be32(a_t.reference).finish())}));
    l_children.bytes(atom("mdia", {atom("mdhd", atom_builder()
                                                    .be32(0)
                                                    .zeros(8)
                                                    .be32(a_t.time_scale)
                                                    .be32(a_t.duration)
                                                    .zeros(4)
                                                    .finish()),
                                   handler("mhlr", a_t.handler),
                                   atom("minf", {handler("dhlr", "alis"),
                                                 sample_tables(a_t.description, a_t.chunk_offset,
                                                               a_64, a_t.duration, a_samples)})}));
    return atom("trak", l_children.finish());
}

// Sample descriptions: size, format, 6 reserved bytes, data reference index; the timecode one
// goes on with 4 reserved bytes, flags, time scale, frame duration, frames a second, a reserved
// byte and a 'name' atom (or 2 more reserved bytes).
nubase::buffer timecode_description(const movie_layout& a_layout) {
    atom_builder l_name;
    if (a_layout.reel != nullptr) {
        const std::size_t l_length = std::strlen(a_layout.reel);
        l_name.be32(static_cast<std::uint32_t>(12 + l_length)).text("name");
        l_name.byte(static_cast<unsigned>(l_length >> 8))
            .byte(static_cast<unsigned>(l_length))
            .zeros(2);
        for (std::size_t l_i = 0; l_i < l_length; ++l_i)
            l_name.byte(static_cast<unsigned char>(a_layout.reel[l_i]));
    } else {
        l_name.zeros(2);
    }
    const nubase::buffer l_tail = l_name.finish();
    return atom_builder()
        .be32(static_cast<std::uint32_t>(8 + 6 + 2 + 4 + 12 + 2 + l_tail.size()))
        .text("tmcd")
        .zeros(6)
        .byte(0)
        .byte(1)
        .zeros(4)
        .be32((a_layout.drop_frame ? 1 : 0) | a_layout.more_flags)
        .be32(a_layout.time_scale)
        .be32(a_layout.frame_duration)
        .byte(a_layout.number_of_frames)
        .zeros(1)
        .bytes(l_tail)
        .finish();
}

unsigned timecode_tracks(const movie_layout& a_layout) {
    return a_layout.timecode_track ? (a_layout.second_track ? 2 : 1) : 0;
}

nubase::buffer movie(const movie_layout& a_layout, std::uint64_t a_chunk_offset) {
    const nubase::buffer l_video_entry =
        atom_builder().be32(16).text("avc1").zeros(6).byte(0).byte(1).finish();
    const unsigned l_timecodes = timecode_tracks(a_layout);
    const std::uint32_t l_duration = a_layout.duration_frames * a_layout.frame_duration;
    const std::uint32_t l_reference =
        l_timecodes == 0 ? 0 : (a_layout.video_references_second && l_timecodes == 2 ? 3 : 2);
    atom_builder l_tracks;
    l_tracks.bytes(atom("mvhd", atom_builder().be32(0).zeros(96).finish()));
    l_tracks.bytes(track({1, true, "vide", l_video_entry, a_layout.time_scale,
                          a_layout.frame_duration, a_chunk_offset + 4 * l_timecodes, l_reference},
                         a_layout.chunk_offsets_64, !a_layout.fragmented));
    for (unsigned l_k = 0; l_k < l_timecodes; ++l_k) {
        l_tracks.bytes(track({2 + l_k, a_layout.enabled, "tmcd", timecode_description(a_layout),
                              a_layout.time_scale, l_duration, a_chunk_offset + 4 * l_k, 0},
                             a_layout.chunk_offsets_64, !a_layout.fragmented));
    }
    if (a_layout.fragmented && l_timecodes != 0) {
        // Defaults for the fragments of the timecode track: 4-byte samples.
        l_tracks.bytes(atom("mvex", {atom("trex", atom_builder()
                                                      .be32(0)
                                                      .be32(2)
                                                      .be32(1)
                                                      .be32(a_layout.frame_duration)
                                                      .be32(4)
                                                      .be32(0)
                                                      .finish())}));
    }
    return atom("moov", l_tracks.finish());
}

// A movie fragment holding the timecode track's one sample, `data_offset` bytes from its start.
nubase::buffer fragment(const movie_layout& a_layout, std::int32_t a_data_offset) {
    const std::uint32_t l_duration = a_layout.duration_frames * a_layout.frame_duration;
    return atom(
        "moof",
        {atom("mfhd", atom_builder().be32(0).be32(1).finish()),
         atom("traf",
              {atom("tfhd", atom_builder().be32(0x020000).be32(2).finish()),  // base is the moof
               atom("trun", atom_builder()
                                .be32(0x000301)  // data offset, durations and sizes present
                                .be32(1)
                                .be32(static_cast<std::uint32_t>(a_data_offset))
                                .be32(l_duration)
                                .be32(4)
                                .finish())})});
}

}  // namespace

nubase::buffer write_movie(const movie_layout& a_layout) {
    const nubase::buffer l_type = atom("ftyp", atom_builder()
                                                   .text(a_layout.mp4 ? "isom" : "qt  ")
                                                   .be32(0x200)
                                                   .text(a_layout.mp4 ? "mp41" : "qt  ")
                                                   .finish());
    // The media data: the timecode samples, then a few bytes that stand for video.
    atom_builder l_media_body;
    l_media_body.be32(a_layout.first_frame);
    if (timecode_tracks(a_layout) == 2) l_media_body.be32(a_layout.second_first_frame);
    l_media_body.text("vid0").text("vid1");
    const nubase::buffer l_media_bytes = l_media_body.finish();
    atom_builder l_media;
    if (a_layout.large_media_size) {
        l_media.be32(1).text("mdat").be64(l_media_bytes.size() + 16);
    } else {
        l_media.be32(static_cast<std::uint32_t>(l_media_bytes.size() + 8)).text("mdat");
    }
    l_media.bytes(l_media_bytes);
    const nubase::buffer l_media_atom = l_media.finish();
    const std::uint64_t l_media_header = a_layout.large_media_size ? 16 : 8;

    atom_builder l_file;
    l_file.bytes(l_type);
    if (a_layout.fragmented) {
        const nubase::buffer l_movie = movie(a_layout, 0);
        const std::uint64_t l_fragment_size = fragment(a_layout, 0).size();
        l_file.bytes(l_movie);
        l_file.bytes(
            fragment(a_layout, static_cast<std::int32_t>(l_fragment_size + l_media_header)));
        l_file.bytes(l_media_atom);
        return l_file.finish();
    }
    // The movie's size does not depend on the offset it records, so measure it first.
    const std::uint64_t l_movie_size = movie(a_layout, 0).size();
    const std::uint64_t l_sample_offset =
        l_type.size() + (a_layout.movie_first ? l_movie_size : 0) + l_media_header;
    const nubase::buffer l_movie = movie(a_layout, l_sample_offset);
    l_file.bytes(a_layout.movie_first ? l_movie : l_media_atom);
    l_file.bytes(a_layout.movie_first ? l_media_atom : l_movie);
    return l_file.finish();
}

}  // namespace nubase_tool
