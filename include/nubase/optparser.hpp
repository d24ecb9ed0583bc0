// nubase/optparser.hpp - command-line options and the help-text formatter.
//
// `arg::optparser` reads an argument vector against a table of declared options and reports each
// recognised option, with the arguments gathered for it, to a callback derived from
// `arg::opt_functor`. The same object writes a program's help text, for a terminal (ANSI bold,
// underline and cursor moves) or as HTML fragments:
//
//   struct handler : nubase::arg::opt_functor {
//       int operator()(int id, std::vector<const char*> args) override {
//           if (id == 1) files.push_back(args[0]);     // free arguments arrive under id 1
//           if (id == 'r') rate = args[0];
//           return static_cast<int>(args.size());      // arguments consumed
//       }
//   } h;
//   nubase::arg::optparser p(&h);
//   p.add_opt('r', "rate", 1, 1);                      // -r R, --rate R
//   p.add_opt(-1, "html", 0, 0);                       // long only: a negative id
//   if (!p.parse(argc, argv)) return 2;                // one "*** " line was printed
//
// Options are identified by an int id. An id that is a printable character code is also the
// option's short name (id 'a' is "-a"); long-only options use ids that are not character codes.
// Id 1 is reserved for free arguments.
#ifndef NUBASE_OPTPARSER_HPP
#define NUBASE_OPTPARSER_HPP

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "nubase/config.hpp"

namespace nubase {
namespace arg {

// The callback of a parse. `operator()` gets an option's id and its gathered arguments (a copy
// the callback owns; the pointers point into the caller's argument strings) and returns how many
// of them it consumed, or -1 to stop the parse.
class NUBASE_API opt_functor {
  public:
    opt_functor() noexcept : m_stopped_at(0) {}
    virtual ~opt_functor();

    virtual int operator()(int a_id, std::vector<const char*> a_args) = 0;

    // The id whose callback returned -1 (1 for a free argument); 0 until that happens. `parse`
    // never resets it.
    int stopped_at() const noexcept { return m_stopped_at; }

  private:
    friend class optparser;
    int m_stopped_at;
};

class NUBASE_API optparser {
  public:
    // One declared option: the least and most number of arguments and the long name (without
    // dashes; null for none). The name is not copied and must outlive the parser.
    class NUBASE_API opt {
      public:
        opt() noexcept : m_min(0), m_max(0), m_long_version(nullptr) {}
        // A `max` below `min` is raised to `min`.
        opt(const char* a_long_version, unsigned a_min, unsigned a_max) noexcept
            : m_min(a_min), m_max(a_max < a_min ? a_min : a_max), m_long_version(a_long_version) {}

        unsigned min() const noexcept { return m_min; }
        unsigned max() const noexcept { return m_max; }
        const char* long_version() const noexcept { return m_long_version; }

      private:
        unsigned m_min;
        unsigned m_max;
        const char* m_long_version;
    };
    using opts = std::map<int, opt>;

    // The functor is not owned and must outlive every `parse`.
    explicit optparser(opt_functor* a_functor);
    optparser(const optparser&) = delete;
    optparser& operator=(const optparser&) = delete;
    ~optparser();

    // ---- The option table ----

    // Declares option `id`, or replaces the limits and long name of an existing declaration.
    // A `max` below `min` is raised to `min`; a large `max` (255) stands for "any number".
    void add_opt(int a_id, const char* a_long_name, unsigned a_min, unsigned a_max);

    // The declaration with the lowest id whose long name equals `long_name`, or `end()`.
    [[nodiscard]] opts::const_iterator get(const char* a_long_name) const;
    opts::const_iterator begin() const noexcept { return m_opts.begin(); }
    opts::const_iterator end() const noexcept { return m_opts.end(); }

    // ---- The parse ----

    // Walks argv[1] .. argv[argc - 1]. An element looks like an option when it starts with "-"
    // followed by neither NUL nor a decimal digit, so "-" and "-5" are ordinary arguments.
    //  - A free argument is reported under id 1; a callback result of -1 stops the parse.
    //  - "-" alone is ignored.
    //  - "--" reports every later element as a free argument, one call each; here the results
    //    are ignored, -1 included.
    //  - "--name" is looked up whole ("--ddd=yes" looks for the name "ddd=yes"). At least `min`
    //    following non-option elements are gathered, then more up to `max`. With r the callback's
    //    result, the parse goes on at the option's index + r + 1: a callback that consumes fewer
    //    arguments hands the rest back to be read again as free arguments or options.
    //  - "-abc" is a group of short options read left to right. Flags (max 0) are called with
    //    no arguments. An option taking arguments ends the group: the rest of the element is its
    //    first argument ("-c=3" gives "=3"), further ones are gathered as for long options, and
    //    the parse goes on at index + r + 1, or at index + r when an attached argument was given
    //    (it consumed no element).
    // Returns true when every element was processed or a callback returned -1 (its id is then
    // recorded in the functor's `stopped_at`). Returns false at once on an unknown option
    // ("*** no such option `%s'" or "`%c'") or too few arguments ("*** too few arguments for
    // option `%s'" or "`%c'"), with that one line on standard error; callbacks made before
    // stand. Never throws for any input (allocation failure propagates).
    bool parse(unsigned a_argc, char** a_argv);

    // ---- The help formatter ----
    //
    // Output goes to standard output, written as it is produced (nothing is kept in the parser);
    // `set_output` redirects it, for example into a `tmpfile()` to capture it. Output errors are
    // ignored. Terminal codes: bold "\e[1m", underline "\e[4m", both off "\e[0m", cursor forward
    // "\e[<n>C". In HTML mode bold is <strong>, underline <u>, a cursor move is n spaces and
    // `print` escapes "<", ">" and "&".
    //
    // Indentation: level L (1 to 5) writes its text from column (L - 1) x 8. Option descriptions
    // move to level 4 themselves (column 24), so a manual page is written as
    //   add_desc_indent1("NAME"); add_desc_paragraph();
    //   add_desc_indent2(nullptr); add_desc("nubase - tools for media engineers");
    //   add_desc_indent1("OPTIONS"); add_desc_paragraph();
    //   add_desc('r', "rate in frames per second"); add_desc_paragraph();

    // Writes help output to `out` instead of standard output (not owned; null restores stdout).
    void set_output(std::FILE* a_out) noexcept;

    // Switches to HTML output; there is no way back.
    void set_html_output() noexcept { m_html = true; }
    bool is_html_output() const noexcept { return m_html; }
    // Switches the terminal form to plain text, for a file, a pipe or a terminal without
    // attributes: the same layout, with spaces where the terminal form moves the cursor, and no
    // attributes and no screen clearing. HTML output is not affected. There is no way back.
    //
    //   if (!isatty(STDOUT_FILENO)) parser.set_plain_output();
    void set_plain_output() noexcept { m_plain = true; }
    bool is_plain_output() const noexcept { return m_plain; }

    // The column at which description text wraps (initially 80).
    void set_text_line_width(unsigned a_width) noexcept { m_text_line_width = a_width; }
    unsigned get_text_line_width() const noexcept { return m_text_line_width; }
    // Asks the shell for "tput cols"; when the command succeeds the width becomes the number it
    // printed minus 8 and true is returned, otherwise the width is unchanged and false returned.
    bool set_max_text_line_width();

    void text_strong();
    void text_strong_off();
    void text_underline();
    void text_underline_off();
    // "\e[H\e[2J" in both modes.
    void clear_screen();
    // Moves the cursor forward n columns ("\e[<n>C"; n spaces in HTML).
    void set_column(unsigned a_columns);
    // One newline.
    void new_line();
    void add_desc_paragraph();
    // The text as it is; in HTML mode with "<", ">" and "&" replaced by their entities.
    void print(const std::string& a_text);

    // Level L and column (L - 1) x 8; any level below 2 gives level 1, column 0.
    void set_indentation(unsigned a_level) noexcept;
    unsigned get_indentation() const noexcept { return m_indentation; }
    unsigned get_indentation_column() const noexcept { return m_indentation_column; }

    // Set level 1 to 5. With a title: move to the level's column and write the title in bold on
    // a line of its own (HTML: "<h3>" with column-many spaces before the title; level 2 writes
    // the spaces, "<strong>", the title and a newline, "</strong>"). A null title only changes
    // the level.
    void add_desc_indent1(const char* a_title);
    void add_desc_indent2(const char* a_title);
    void add_desc_indent3(const char* a_title);
    void add_desc_indent4(const char* a_title);
    void add_desc_indent5(const char* a_title);

    // "<h3><spaces><u>text</u></h3>" and the <h4> form, with column-many spaces, in both modes.
    void add_html_underline_h3(const char* a_text);
    void add_html_underline_h4(const char* a_text);

    // Describes option `id` with its short name (the id as a character when it is 1 or more)
    // and long name; nothing is written for an undeclared id.
    void add_desc(int a_id, const char* a_text);
    // A plain paragraph at the current indentation column.
    void add_desc(const char* a_text);
    // The option header, then the text wrapped at the line width with its markup. `short_name`
    // 0 means none. Headers: "-s" at column 20 on a line of its own, then "--long  " ending at
    // column 24 (a long name of 20 or more characters starts at column 0 and pushes the text
    // right); a short name alone is "-s  " at column 20. With neither name the text starts at
    // the current indentation column.
    //
    // The text is split at every "!"; the pieces between the marks are markup codes when they
    // are exactly one of: "S" bold on, "SE" bold off, "SA"/"SAA" underline on, "SAE"/"SAAE"
    // underline off, "Q"/"QE" a double quotation mark, "X" an exclamation mark, "LT" "&lt;" and
    // "GT" "&gt;" (both printed through `print`, so HTML escapes their ampersand once more).
    // Every other piece is text, printed as given and wrapped at spaces: a line breaks at the
    // last space that still fits, else at the first space beyond; a word with no space after it
    // is printed whole and followed by a line break. Continuation lines start at the text's
    // start column. Markup does not count towards the column. One newline ends the text.
    //
    // When the start column lies at or beyond the line width, the room on a line is taken as 0
    // (every space breaks the line) rather than wrapping around.
    void add_desc(char a_short_name, const std::string& a_long_name, const std::string& a_text);

  private:
    void write(const char* a_text, std::size_t a_size);
    void write(const char* a_text);
    void set_level(unsigned a_level) noexcept { set_indentation(a_level); }
    void add_desc_indent(unsigned a_level, const char* a_title);
    void add_html_underline(const char* a_tag, const char* a_text);
    void print_wrapped(std::string a_text, unsigned a_start, unsigned& a_column);
    // The gathered arguments of one callback; kept to reuse their storage between callbacks.
    std::vector<const char*> m_args;
    opt_functor* m_functor;
    opts m_opts;
    unsigned m_indentation;
    unsigned m_text_line_width;
    unsigned m_indentation_column;
    bool m_html;
    bool m_plain = false;
    std::FILE* m_out;
};

}  // namespace arg
}  // namespace nubase

#endif  // NUBASE_OPTPARSER_HPP
