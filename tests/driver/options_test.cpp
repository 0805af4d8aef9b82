// The command line, tried through whole runs.
#include <gtest/gtest.h>

#include "driver/run.h"
#include "support/run.h"

namespace tavrel {
namespace {

using testing::files_t;
using testing::result_t;
using testing::run_program;

const std::string no_text = " An error, warning or message was generated, but no description is available\n";

// Messages of a program without a description file.
std::string message(int number, const std::string& context = "") {
    return context + "(" + std::to_string(number) + ")" + no_text;
}

const files_t one_image = {
    {"a.hex", ":0100000041BE\n:00000001FF\n"}
};

struct case_t {
    std::vector<std::string> args;
    int status;
    std::string err;
};

TEST(options, messages_of_the_command_line) {
    const case_t cases[] = {
        {{"-o"},        1,                                                                                  message(602) },
        {{"-o", "-v"},  1,                                                                                  message(602) },
        {{"-ic"},       1,                                                                                  message(603) },
        {{"-ie"},       1,                                                                                  message(603) },
        {{"-ixyz"},     1,                                                                                  message(604) },
        {{"-IHEX"},     1,                                                                                  message(604) }, // keys are case-sensitive, letters are not
        {{"-v"},        1,                                                                                  message(613) },
        {{"-d"},        1,                                                                                  message(614) },
        {{"a.hex"},     1,                                                                                  message(613,   "a.hex: ")},
        {{"-p", "-n", "-w", "-wx", "-w!5", "-w-10", "a.hex", "-os19"},
         1,                                    message(609) + message(610) + message(393) + message(393) + message(393) + message(523)                                                                                                               },
        {{"--pathspec=a", "--PathSpec=,b", "--pathspec", "a.hex", "-os19"},
         1,                               message(608) + message(608) + message(608)                                                                                                               },
        {{"--pathspec=a,b", "--frobnicate", "--emax=3", "-frobnicate", "-w-9", "-w5!", "a.hex", "-os19"},             0, ""},
        {{"--edf=nowhere", "a.hex", "-os19"},             0,                                                             "Could not open error description file nowhere\n"                                                                                                                                                                           },
        {{"nowhere", "a.hex", "-os19"},             1,                                                                   message(141,"nowhere: ")},
        {{"-c", "empty"}, 1,                                                                                   "==> Checking 'empty' file type ...\n"                                                                                                                                                                                          },
    };
    files_t files = one_image;
    files["empty"];
    for (const case_t& c : cases) {
        const result_t result = run_program(c.args, files);
        EXPECT_EQ(result.status, c.status) << ::testing::PrintToString(c.args);
        EXPECT_EQ(result.err.substr(0, c.err.size()), c.err) << ::testing::PrintToString(c.args);
    }
}

TEST(options, the_65th_code_space_ends_the_run) {
    std::string list = "-na";
    for (int k = 1; k < 64; ++k) {
        list += ",a";
    }
    EXPECT_EQ(run_program({list, "a.hex", "-os19"}, one_image).status, 0);
    EXPECT_EQ(run_program({list, "-nb", "a.hex", "-os19"}, one_image).err, message(1300));
}

TEST(options, at_most_127_names) {
    std::vector<std::string> args(127, "a.hex");
    args.insert(args.begin(), "-os19");
    std::rotate(args.begin(), args.begin() + 1, args.end());
    EXPECT_EQ(run_program(args, one_image).status, 0);
    args.insert(args.begin(), "a.hex");
    EXPECT_EQ(run_program(args, one_image).err, message(611));
}

TEST(options, what_is_no_option_shows_the_usage) {
    const result_t result = run_program({"-x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.substr(0, 70), "Unrecognized option '-x'TAVREL: the symbol file reformatter\nUsage: tav");
    EXPECT_EQ(run_program({"-"}).err.substr(0, 23), "Unrecognized option '-'");
    EXPECT_EQ(run_program({"-h"}).err.substr(0, 7), "TAVREL:");
    EXPECT_EQ(run_program({"-h"}).status, 1);
}

TEST(options, the_list_of_formats) {
    const result_t result = run_program({"-l"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "Formats available are:\n\nKey        Name\n\n"
                          "norvane    Norvane Software\npe         P&E\neomf51     Extended OMF-51\n"
                          "omf51      OMF-51\nihex       Intel HEX\ns19        Motorola HEX\ncod        .COD\n"
                          "mcoff      Microchip COFF\ncoff       COFF\nicoff      ICOFF\nelf        ELF/DWARF\n"
                          "ubrof      UBROF\nhtk        Holtek DBG\ntsk        Holtek TSK\ntitxt      TI-.TXT\n"
                          "\nKeys may be unambiguously abbreviated.\n");
}

// Where outputs go: what stands on the command line, and the files that appear.
TEST(outputs, names_follow_from_what_stands_before) {
    struct names_t {
        std::vector<std::string> args;
        std::vector<std::string> names; // sorted, the input left out
    };
    const names_t cases[] = {
        {{"a.hex", "-os19", "-otitxt", "out"},         {"a.hex", "out.txt"}      },
        {{"a.hex", "-os19", "-os19", "out"},           {"out.hex"}               },
        {{"a.hex", "-o", "s19", "x.y/out"},            {"x.y/out.hex"}           },
        {{"a.hex", "-otitxt", "out.bin", "-onorvane"}, {"out.bin", "out.sym"}    },
        {{"a.hex", "-otitxt", "d.d/x", "-onorvane"},   {"d.d/x.sym", "d.d/x.txt"}},
        {{"d.d/a", "-otitxt"},                         {"d.txt"}                 },
        {{"a.hex", "-otitxt", ""},                     {".txt"}                  },
        {{"a.hex", "-otitxt", "d.d\\x"},               {"d.d\\x.txt"}            },
        {{"a.hex", "-otitxt", "one", "two"},           {"two.txt"}               },
        {{"a.hex", "-otitxt", std::string(130, 'x')},  {std::string(127, 'x')}   },
    };
    for (const names_t& c : cases) {
        const result_t result = run_program(c.args, {
                                                        {c.args[0], one_image.begin()->second}
        });
        EXPECT_EQ(result.err, "");
        std::vector<std::string> names;
        for (const auto& [name, bytes] : result.files) {
            const bool is_output = name != c.args[0] || bytes != one_image.begin()->second;
            if (is_output) {
                names.push_back(name);
            }
        }
        EXPECT_EQ(names, c.names) << ::testing::PrintToString(c.args);
    }
}

TEST(run, tells_what_it_does) {
    const result_t result = run_program({"-v", "a.hex", "-os19", "b", "-otitxt"}, one_image);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "==> Checking 'a.hex' file type ...\n"
                          "==> Not Norvane Software\n==> Not P&E\n==> Not Extended OMF-51\n==> Not OMF-51\n"
                          "==> Confirmed as Intel HEX\n"
                          "==> Reading 'a.hex' as Intel HEX\n==> Read 1 input files\n"
                          "\nFiles: 0, syms: 0, lines: 0\n\nData blocks: 1, total size 1\n\nSegments: 0\n\n"
                          "==> Writing 'b.hex' as Motorola HEX\n==> Writing 'b.txt' as TI-.TXT\n"
                          "==> Wrote 2 output files\n");
}

TEST(run, a_given_format_needs_no_probe) {
    const result_t result = run_program(
        {
            "-c", "-iih", "a.hex"
    },
        {{"a.hex", "anything"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "==> Checking 'a.hex' file type ...\n==> Defaulting to Intel HEX\n==> Read 1 input files\n");
}

TEST(run, a_dump_that_fails_is_reported_and_the_loop_goes_on) {
    const result_t result = run_program(
        {
            "-d", "a.hex", "b.txt"
    },
        {{"a.hex", ":00000001FF\n"}, {"b.txt", "q\n"}});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, message(634, "a.hex: "));
    EXPECT_EQ(result.out, "\nTI-.txt file dump:\n\n\n");
}

TEST(run, dump_before_identify) {
    const result_t result = run_program(
        {
            "-d", "-c", "b.txt", "-os19"
    },
        {{"b.txt", "q\n"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "TI-.txt file dump:\n\n\n");
    EXPECT_EQ(result.files.size(), 1u);
}

TEST(run, an_output_that_cannot_be_opened_ends_the_run) {
    memory_files_t memory;
    memory.files = one_image;
    host_t host = memory_host(memory);
    host.create_file = [](const std::string&, int& error) {
        error = 13;
        return sink_t();
    };
    EXPECT_EQ(tavrel_run({"a.hex", "-os19"}, host), 1);
    EXPECT_EQ(memory.err, message(378, "a.hex: "));
}

TEST(run, what_does_not_fit_on_the_disk_is_reported) {
    memory_files_t memory;
    memory.files = one_image;
    host_t host = memory_host(memory);
    host.create_file = [](const std::string&, int&) -> sink_t {
        return [](std::string_view bytes) { return bytes.size() - 1; };
    };
    EXPECT_EQ(tavrel_run({"a.hex", "-os19", "-otitxt"}, host), 1);
    EXPECT_EQ(memory.err, message(413, "a.hex: ") + message(413, "a.hex: "));
}

// A fatal loss ends the run in front of the next output.
TEST(run, a_fatal_loss_ends_the_run) {
    memory_files_t memory;
    memory.files = {
        {"a.sym", "%locals\na.c\n1 FFFFFFFF 0 ABS\nx 1 0 ABS\n"},
        {"msgs",  "413 f no room in %s\n"                      }
    };
    host_t host = memory_host(memory);
    host.create_file = [](const std::string&, int&) -> sink_t { return [](std::string_view) { return size_t(0); }; };
    EXPECT_EQ(tavrel_run({"--edf=msgs", "a.sym", "-onorvane", "-os19"}, host), 1);
    EXPECT_EQ(memory.err, "a.sym: (413) no room in a.sym\n");
}

TEST(run, a_closed_standard_output_is_reported) {
    memory_files_t memory;
    memory.files = {
        {"b.txt", "q\n"}
    };
    host_t host = memory_host(memory);
    host.out = [](std::string_view) { return size_t(0); };
    EXPECT_EQ(tavrel_run({"-d", "b.txt"}, host), 1);
    EXPECT_EQ(memory.err, message(413, "b.txt: "));
}

} // namespace
} // namespace tavrel
