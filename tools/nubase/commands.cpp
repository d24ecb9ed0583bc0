// The command table of the `nubase` tool.
#include "tool.hpp"

namespace nubase_tool {

// Option declarations and descriptions, with each command.
void declare_none(nubase::arg::optparser&);
void describe_none(nubase::arg::optparser&);
void declare_tc(nubase::arg::optparser&);
void describe_tc(nubase::arg::optparser&);
void declare_scan(nubase::arg::optparser&);
void describe_scan(nubase::arg::optparser&);
void declare_url(nubase::arg::optparser&);
void describe_url(nubase::arg::optparser&);
void declare_run(nubase::arg::optparser&);
void describe_run(nubase::arg::optparser&);

const std::vector<command>& commands() {
    static const std::vector<command> s_commands = {
        {"probe", "probe FILE...", "the start timecode of QuickTime and MP4 files",
         "Reads each file's timecode track (the track whose media handler is tmcd), its first "
         "sample and its sample description, and prints one line per file: the start timecode, "
         "the rate and whether it counts in drop-frame. Labels use !Q!;!QE! before the frames "
         "for drop-frame only. A file without a timecode track is reported and makes the exit "
         "status 1; a truncated or malformed file gives one error line and status 2.",
         &declare_none, &describe_none, &run_probe},
        {"tc",
         "tc TIMECODE [--rate R] [--add N | --sub N] [--frames] [--tmcd] [--from-frames N] "
         "[--from-tmcd HEX]",
         "a SMPTE timecode calculator",
         "Prints a timecode after adding or subtracting frames. Drop-frame counting is exact: "
         "at 29.97 and 59.94 the labels skipped at each minute but every tenth never appear. "
         "Example: !S!nubase tc 00:00:59;29 --rate 29.97 --add 1!SE! prints 00:01:00;02.",
         &declare_tc, &describe_tc, &run_tc},
        {"url", "url INPUT [--base DIR]", "a typed path or URL as a URL and a Windows or UNC path",
         "Turns a typed name (an absolute or relative path, ~ for the home directory, a Windows "
         "drive path, a UNC path, or a URL) into a URL and prints its parts (the password "
         "masked), its Windows or UNC form and the native path.",
         &declare_url, &describe_url, &run_url},
        {"base64", "base64 encode|decode [FILE]", "base64 coding of standard input or a file",
         "Encodes or decodes standard input (or FILE) to standard output in blocks, in constant "
         "memory. Decoding ignores blanks and line breaks.",
         &declare_none, &describe_none, &run_base64},
        {"hex", "hex encode|decode [FILE]", "hexadecimal coding of standard input or a file",
         "Encodes or decodes standard input (or FILE) to standard output in blocks, in constant "
         "memory. Decoding ignores blanks and line breaks.",
         &declare_none, &describe_none, &run_hex},
        {"scan", "scan FILE [--code HEX] [--bits N]", "the offsets of start codes in a file",
         "Lists the byte offset of every byte-aligned start code (by default 00 00 01) in FILE, "
         "one a line.",
         &declare_scan, &describe_scan, &run_scan},
        {"run", "run [--input TEXT] -- PROGRAM ARGS...", "runs a program and times it",
         "Runs PROGRAM (a path; no search of PATH) with its arguments, relays its standard "
         "output, then prints its status and its real, user and system times on standard error, "
         "and exits with its status.",
         &declare_run, &describe_run, &run_run},
        {"sysinfo", "sysinfo", "a description of the host",
         "Prints the host name, kernel, processors and their features, memory, load, user, "
         "home, temporary and working directories.",
         &declare_none, &describe_none, &run_sysinfo},
        {"selftest", "selftest [SUITE[/UNIT[/CASE]]]", "runs the library's own test units",
         "Runs the test units registered in the library (all of them, one suite, one unit or one "
         "case) and reports each case and a summary. Known failures are reported as such. The "
         "exit status is 1 when a case failed unexpectedly.",
         &declare_none, &describe_none, &run_selftest},
        {"demo", "demo", "the library's two typical roads on embedded data",
         "A worker thread parses an in-memory QuickTime header and posts the start timecode to "
         "the call queue, which the main thread serves; then typed file names become file URLs "
         "and come back as Windows or UNC paths.",
         &declare_none, &describe_none, &run_demo},
    };
    return s_commands;
}

}  // namespace nubase_tool
