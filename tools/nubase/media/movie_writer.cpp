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
        unsigned char* l_p = m_writer.write_at(4);
        for (int l_index = 0; l_index < 4; ++l_index)
            l_p[l_index] = static_cast<unsigned char>(a_value >> (24 - 8 * l_index));
        return *this;
    }
    atom_builder& be64(std::uint64_t a_value) {
        be32(static_cast<std::uint32_t>(a_value >> 32));
        return be32(static_cast<std::uint32_t>(a_value));
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

nubase::buffer sample_tables(const nubase::buffer& a_description, std::uint64_t a_chunk_offset,
                             bool a_64) {
    atom_builder l_offsets;
    l_offsets.be32(0).be32(1);
    if (a_64) {
        l_offsets.be64(a_chunk_offset);
    } else {
        l_offsets.be32(static_cast<std::uint32_t>(a_chunk_offset));
    }
    return atom("stbl",
                {atom("stsd", atom_builder().be32(0).be32(1).bytes(a_description).finish()),
                 atom("stts", atom_builder().be32(0).be32(1).be32(1).be32(1).finish()),
                 atom("stsc", atom_builder().be32(0).be32(1).be32(1).be32(1).be32(1).finish()),
                 atom("stsz", atom_builder().be32(0).be32(4).be32(1).finish()),
                 atom(a_64 ? "co64" : "stco", l_offsets.finish())});
}

nubase::buffer track(const char* a_handler, const nubase::buffer& a_description,
                     std::uint64_t a_chunk_offset, bool a_64) {
    return atom(
        "trak",
        {atom("tkhd", atom_builder().be32(0xF).zeros(80).finish()),
         atom("mdia",
              {atom("mdhd", atom_builder().be32(0).zeros(20).finish()), handler("mhlr", a_handler),
               atom("minf", {handler("dhlr", "alis"),
                             sample_tables(a_description, a_chunk_offset, a_64)})})});
}

nubase::buffer movie(const movie_layout& a_layout, std::uint64_t a_chunk_offset) {
    // Sample descriptions: size, format, 6 reserved bytes, data reference index; the timecode
    // one goes on with 4 reserved bytes, flags, time scale, frame duration, frames a second and
    // 3 reserved bytes.
    const nubase::buffer l_video_entry =
        atom_builder().be32(16).text("avc1").zeros(6).byte(0).byte(1).finish();
    atom_builder l_tmcd_entry;
    l_tmcd_entry.be32(8 + 6 + 2 + 4 + 12 + 4)
        .text("tmcd")
        .zeros(6)
        .byte(0)
        .byte(1)
        .zeros(4)
        .be32(a_layout.drop_frame ? 1 : 0)
        .be32(a_layout.time_scale)
        .be32(a_layout.frame_duration)
        .byte(a_layout.number_of_frames)
        .zeros(3);
    atom_builder l_tracks;
    l_tracks.bytes(atom("mvhd", atom_builder().be32(0).zeros(96).finish()));
    l_tracks.bytes(track("vide", l_video_entry, a_chunk_offset + 4, a_layout.chunk_offsets_64));
    if (a_layout.timecode_track) {
        l_tracks.bytes(
            track("tmcd", l_tmcd_entry.finish(), a_chunk_offset, a_layout.chunk_offsets_64));
    }
    return atom("moov", l_tracks.finish());
}

}  // namespace

nubase::buffer write_movie(const movie_layout& a_layout) {
    const nubase::buffer l_type = atom("ftyp", atom_builder()
                                                   .text(a_layout.mp4 ? "isom" : "qt  ")
                                                   .be32(0x200)
                                                   .text(a_layout.mp4 ? "mp41" : "qt  ")
                                                   .finish());
    // The media data: the timecode sample, then a few bytes that stand for video.
    atom_builder l_media_body;
    l_media_body.be32(a_layout.first_frame).text("vid0").text("vid1");
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

    // The movie's size does not depend on the offset it records, so measure it first.
    const std::uint64_t l_movie_size = movie(a_layout, 0).size();
    const std::uint64_t l_sample_offset =
        l_type.size() + (a_layout.movie_first ? l_movie_size : 0) + l_media_header;
    const nubase::buffer l_movie = movie(a_layout, l_sample_offset);

    atom_builder l_file;
    l_file.bytes(l_type);
    l_file.bytes(a_layout.movie_first ? l_movie : l_media_atom);
    l_file.bytes(a_layout.movie_first ? l_media_atom : l_movie);
    return l_file.finish();
}

}  // namespace nubase_tool
