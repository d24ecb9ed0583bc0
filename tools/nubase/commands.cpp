// The command table of the `nubase` tool.
#include "tool.hpp"

namespace nubase_tool {

// Option declarations and descriptions, with each command.
void declare_none(nubase::arg::optparser&);
option_texts describe_none();
void declare_probe(nubase::arg::optparser&);
option_texts describe_probe();
void declare_retc(nubase::arg::optparser&);
option_texts describe_retc();
void declare_tc(nubase::arg::optparser&);
option_texts describe_tc();
void declare_scan(nubase::arg::optparser&);
option_texts describe_scan();
void declare_url(nubase::arg::optparser&);
option_texts describe_url();
void declare_coder(nubase::arg::optparser&);
option_texts describe_base64();
option_texts describe_hex();
void declare_run(nubase::arg::optparser&);
option_texts describe_run();

const std::vector<command>& commands() {
    static const std::vector<command> s_commands = {
        {"probe", "probe [--json] [--rate R [--df | --ndf]] FILE...",
         "the timecode of QuickTime and MP4 movies and Broadcast WAV recordings",
         "Reads every timecode track of each movie (a track whose sample description is tmcd), "
         "or the time reference of a Broadcast WAV or RF64 recording, told apart by content, and "
         "prints one line per track: the start timecode, the rate and whether it counts in "
         "drop-frame; a counter track prints its count. The primary track comes first (the one "
         "the first video track references, else the lowest track id) in the form "
         "!Q!clip.mov: 01:00:00;00 29.97 fps drop-frame!QE!; further tracks as "
         "!Q!clip.mov [track 3]: ...!QE!. A recording prints its label at the rate its iXML "
         "records (or --rate), exactly in real time, with the samples its time reference lies "
         "past the frame's first one: !Q!take12.wav: 14:03:22:05 +480 samples 25 fps non-drop "
         "(from iXML)!QE!; without any rate, its time of day. Labels use !Q!;!QE! before the "
         "frames for drop-frame only. FILE may be !Q!-!QE! for standard input: pipes, FIFOs and "
         "devices are read through, keeping the first 64 MiB of media data in case the movie "
         "header comes last. Fragmented MP4 files are read through their fragments. The start is "
         "the first sample's value as stored (edit lists are not applied). Exit status: 0 when "
         "every file has a timecode, 1 when one has none (no timecode track, no 'bext' chunk), 2 "
         "when one could not be read or is malformed or inconsistent (one error line each).",
         &declare_probe, &describe_probe, &run_probe},
        {"retc", "retc FILE TIMECODE [--track ID] [--dry-run] [--rate R [--df | --ndf]]",
         "restamps the start timecode of a movie or a recording in place",
         "Rewrites the first sample of a timecode track (the 4 bytes of its frame counter), or "
         "the time reference of a Broadcast WAV recording (8 bytes: the first whole sample of the "
         "label's frame, below 24 hours), so that it starts at TIMECODE, read at its rate; no "
         "other byte of the file changes, nor its size. Prints !Q!FILE: OLD -> NEW!QE! and exits "
         "0. Refused, with nothing written (status 2): a file with several timecode tracks "
         "without --track, a counter track, a sample that is not 4 bytes, a fragmented file whose "
         "sample cannot be located exactly, a recording without a 'bext' chunk or without a "
         "known rate, a file that is not a regular writable file, and a timecode that does not "
         "exist at the rate (a dropped label, minutes or seconds above 59, frames at or above "
         "the nominal rate, 24 hours or more on a 24-hour track).",
         &declare_retc, &describe_retc, &run_retc, 2},
        {"tc",
         "tc TIMECODE [--rate R] [--df | --ndf] [--add N | --sub N | --minus TIMECODE2] "
         "[--frames] [--tmcd] [--from-frames N] [--from-tmcd HEX]",
         "a SMPTE timecode calculator",
         "Prints a timecode after adding or subtracting frames, or the distance between two "
         "timecodes. Drop-frame counting is exact: at 29.97 and 59.94 the labels skipped at each "
         "minute but every tenth never appear. The rate is !S!--rate!SE!, else 29.97 for a "
         "timecode written with !Q!;!QE! before the frames, else 25. Example: "
         "!S!nubase tc '00:00:59;29' --rate 29.97 --add 1!SE! prints 00:01:00;02.",
         &declare_tc, &describe_tc, &run_tc},
        {"url", "url INPUT [--base DIR]", "a typed path or URL as a URL and a Windows or UNC path",
         "Turns a typed name (an absolute or relative path, ~ for the home directory, a Windows "
         "drive path, a UNC path, or a URL) into a URL and prints its parts (the password "
         "masked), its Windows or UNC form and the native path.",
         &declare_url, &describe_url, &run_url},
        {"base64", "base64 encode|decode [--wrap COLS] [--lenient] [FILE]",
         "base64 coding of standard input or a file",
         "Encodes or decodes standard input (or FILE) to standard output in blocks, in constant "
         "memory. Decoding ignores blanks and line breaks anywhere, and refuses text that is not "
         "base64 (status 2, naming the offset of the first bad character; nothing is written "
         "after it) unless !S!--lenient!SE! is given.",
         &declare_coder, &describe_base64, &run_base64, 2},
        {"hex", "hex encode|decode [--wrap COLS] [--lenient] [FILE]",
         "hexadecimal coding of standard input or a file",
         "Encodes or decodes standard input (or FILE) to standard output in blocks, in constant "
         "memory. Decoding ignores blanks and line breaks anywhere, and refuses a character that "
         "is not a hex digit (status 2, naming its offset) unless !S!--lenient!SE! is given.",
         &declare_coder, &describe_hex, &run_hex, 2},
        {"scan", "scan FILE [--code HEX] [--bits N]", "the offsets of start codes in a file",
         "Lists the byte offset of every byte-aligned start code (by default 00 00 01) in FILE, "
         "one a line.",
         &declare_scan, &describe_scan, &run_scan},
        {"run", "run [--input TEXT] -- PROGRAM ARGS...", "runs a program and times it",
         "Runs PROGRAM with its arguments (found on PATH when its name has no !Q!/!QE!), relays "
         "its standard output, then prints its status and its real, user and system times and "
         "its peak resident memory on standard error, and exits with its status: as a shell "
         "does, 128 + N when a signal N ended it, 127 when the program cannot be found and 126 "
         "when it cannot be run (with one !Q!***!QE! line naming the program and the reason).",
         &declare_run, &describe_run, &run_run},
        {"sysinfo", "sysinfo", "a description of the host",
         "Prints the host name, kernel, processors and their features, memory, load, user, "
         "home, temporary and working directories.",
         &declare_none, &describe_none, &run_sysinfo, 0},
        {"selftest", "selftest [SUITE[/UNIT[/CASE]]]", "runs the library's own test units",
         "Runs the test units registered in the library (all of them, one suite, one unit or one "
         "case) and reports each case and a summary. Known failures are reported as such. The "
         "exit status is 1 when a case failed unexpectedly.",
         &declare_none, &describe_none, &run_selftest, 1},
        {"demo", "demo", "the library's two typical roads on embedded data",
         "A worker thread parses an in-memory QuickTime header and posts the start timecode to "
         "the call queue, which the main thread serves; then typed file names become file URLs "
         "and come back as Windows or UNC paths.",
         &declare_none, &describe_none, &run_demo, 0},
    };
    return s_commands;
}

}  // namespace nubase_tool
