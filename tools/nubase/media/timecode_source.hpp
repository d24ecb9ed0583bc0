// tools/nubase/media/timecode_source.hpp - what a container reader learns about the timecode of
// a file: one `timecode_source` per timecode track, and where its value lives in the file.
//
// The readers fill this model and print nothing; the commands turn it into labels (through the
// library's `timecode`), text and JSON, and the rewriter changes the value in place.
#ifndef NUBASE_TOOL_MEDIA_TIMECODE_SOURCE_HPP
#define NUBASE_TOOL_MEDIA_TIMECODE_SOURCE_HPP

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace nubase_tool {

// A structural fault of a file, or a file that is not of the kind expected. The message is one
// plain sentence without the file name ("no movie header: the file may be incomplete").
class malformed_file : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The flags of a timecode sample description.
constexpr std::uint32_t k_tmcd_drop_frame = 0x1;
constexpr std::uint32_t k_tmcd_max_24h = 0x2;
constexpr std::uint32_t k_tmcd_negative = 0x4;
constexpr std::uint32_t k_tmcd_counter = 0x8;

// One timecode track of a movie.
struct timecode_source {
    std::uint32_t track_id = 0;
    std::vector<std::uint32_t> video_track_ids;  // the video tracks whose 'tref'/'tmcd' name it
    bool enabled = true;

    // The sample description.
    std::uint32_t flags = 0;
    std::uint32_t time_scale = 0;
    std::uint32_t frame_duration = 0;
    unsigned number_of_frames = 0;  // labels a second (the nominal rate)
    std::string reel;               // from a 'name' atom in the description, "" without one

    // The first sample: the 32-bit frame counter stored at `sample_offset`.
    std::uint32_t sample_value = 0;
    std::uint64_t sample_offset = 0;
    std::uint32_t sample_size = 0;
    bool sample_exact = true;  // the offset follows from the file alone (see retc)

    // What the track covers: the sum of its sample durations (the fragments' in a fragmented
    // file), in units of the media's own time scale.
    std::uint32_t media_time_scale = 0;
    std::uint64_t media_duration = 0;
    bool fragmented = false;  // the first sample lies in a movie fragment

    bool drop_frame() const { return (flags & k_tmcd_drop_frame) != 0; }
    bool max_24h() const { return (flags & k_tmcd_max_24h) != 0; }
    bool negative() const { return (flags & k_tmcd_negative) != 0; }
    bool counter() const { return (flags & k_tmcd_counter) != 0; }

    // The frames the track covers: media_duration converted at time_scale / frame_duration,
    // rounded down.
    std::uint64_t duration_frames() const;
};

// A sound recording's time reference: a Broadcast WAV file (RIFF/WAVE or RF64) with a 'bext'
// chunk, and what its 'fmt ' and 'iXML' chunks say.
struct recording_source {
    unsigned channels = 0, bits = 0, block_align = 0;
    std::uint32_t sample_rate = 0;
    std::uint64_t data_size = 0;  // bytes of sound

    bool has_time_reference = false;          // a 'bext' chunk was found
    std::uint64_t time_reference = 0;         // samples since midnight
    std::uint64_t time_reference_offset = 0;  // where its 8 little-endian bytes lie
    std::string description, originator, origination_date, origination_time;

    // From iXML: the timecode rate as a fraction (0/0 when not recorded), its drop-frame flag
    // (when recorded), and the names of the take.
    std::uint32_t rate_num = 0, rate_den = 0;
    bool has_flag = false, drop_frame = false;
    std::string project, scene, take;

    // The samples of sound: data_size / block_align.
    std::uint64_t samples() const { return block_align == 0 ? 0 : data_size / block_align; }
    // The frame that sample `sample` lies in, at num/den frames a second, counted exactly in
    // real time: floor(sample x num / (sample_rate x den)).
    std::uint64_t frame_of(std::uint64_t a_sample, std::uint32_t a_num, std::uint32_t a_den) const;
    // The first whole sample of frame `frame`: ceil(frame x sample_rate x den / num).
    std::uint64_t first_sample_of(std::uint64_t a_frame, std::uint32_t a_num,
                                  std::uint32_t a_den) const;
};

// Every timecode track of a file, the primary one first: the track the first video track in
// file order references, else the one with the lowest track id; the others by track id.
struct movie_timecode {
    std::vector<timecode_source> tracks;
};

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_TIMECODE_SOURCE_HPP
