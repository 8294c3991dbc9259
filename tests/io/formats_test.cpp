// Fixed and free format, line ends, comments and compressed files.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

const char* const FixedFile =
    "* columns: 2-3, 5-12, 15-22, 25-36, 40-47, 50-61\n"
    "NAME          two words\n"
    "ROWS\n"
    " N  total co\n"
    " L  row 1\n"
    "  G row 2\n"
    "COLUMNS\n"
    "    a b       total co           1.5   row 1              2.0\n"
    "    a b       row 2             -1.0\n"
    "    c         row 2              4.0\n"
    "RHS\n"
    "    rhs       row 1              9.0   row 2             -3.0\n"
    "              total co          -7.0\n"
    "BOUNDS\n"
    " UP bnd       a b                5.0\n"
    " FR           c\n"
    "QUADOBJ\n"
    "    a b       c                  0.5   a b                1.0\n"
    "ENDATA\n";

class Files : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
        folder_ = std::filesystem::path(::testing::TempDir()) /
                  ("activeset_io_" + std::string(test->name()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string write(const std::string& name, const std::string& bytes) const {
        std::string path = folder_ / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    [[nodiscard]] std::string writeCompressed(const std::string& name,
                                              const std::string& bytes) const {
        std::string path = folder_ / name;
        const gzFile file = gzopen(path.c_str(), "wb");
        gzwrite(file, bytes.data(), static_cast<unsigned>(bytes.size()));
        gzclose(file);
        return path;
    }

    static std::string errorOfFile(const std::string& path, const ReadLimits& limits = {}) {
        try {
            static_cast<void>(readProblem(path, limits));
        } catch (const ReadError& error) {
            EXPECT_EQ(error.file(), path);
            EXPECT_EQ(error.line(), 0U);
            return error.message();
        }
        return "no error";
    }

    std::filesystem::path folder_;
};

TEST(FixedFormat, NamesMayContainBlanks) {
    const Problem problem = read(FixedFile);

    EXPECT_EQ(problem.name, "two words");
    EXPECT_EQ(problem.variableNames, (std::vector<std::string>{"a b", "c"}));
    EXPECT_EQ(problem.c, (Numbers{1.5, 0}));
    EXPECT_EQ(problem.constant, 7.0);
    EXPECT_EQ(problem.A, (Numbers{2, 1, 0, -4}));
    EXPECT_EQ(problem.b, (Numbers{9, 3}));
    EXPECT_EQ(problem.inequalities[1].row, "row 2");
    EXPECT_EQ(problem.ub[0], 5.0);
    EXPECT_LT(problem.lb[1], -1e300);
    EXPECT_EQ(problem.H, (Numbers{1, 0.5, 0.5, 0}));
}

TEST(FixedFormat, TextBetweenTheFieldsIsNotCutOff) {
    // The number reaches from column 25 to 41 and has no room in its field.
    std::string text = FixedFile;
    const std::string number = "  4.0\n";
    text.replace(text.find(number, text.find("    c         row 2")), number.size(),
                 "  4.00000000\n");

    EXPECT_EQ(errorOf(text), "t.qps:10: text in column 37, which belongs to no field");
}

TEST(FreeFormat, IsRecognisedWithoutTheMark) {
    const Problem problem = read(
        "NAME a longer title\nROWS\n N averylongobjectivename\n L r\nCOLUMNS\n"
        "\tx averylongobjectivename 1 r\t2\nRHS\n r 3\nENDATA\n");

    EXPECT_EQ(problem.name, "a longer title");
    EXPECT_EQ(problem.A, Numbers{2});
    EXPECT_EQ(problem.b, Numbers{3});
}

TEST(FreeFormat, TheMarkRulesOutNamesWithBlanks) {
    // By columns, x 1 would be the name of a variable.
    const std::string body = "ROWS\n N  o\nCOLUMNS\n    x 1       o                  2.0\nENDATA\n";

    EXPECT_EQ(read("NAME          t\n" + body).variableNames[0], "x 1");
    EXPECT_EQ(errorOf("NAME t FREE\n" + body), "t.qps:5: unknown row '1'");
    EXPECT_EQ(read("NAME t FREE\nROWS\n N o\nCOLUMNS\n x o 1\nENDATA\n").name, "t");
}

TEST(Lines, MayEndAsOnOtherSystemsAndBeEmpty) {
    std::string text = smallFile("\n   \n* a comment\nRHS\n b r 5\n");
    std::string converted;
    for (const char character : text) {
        converted += character == '\n' ? std::string("\r\n") : std::string(1, character);
    }

    EXPECT_EQ(read(converted).b, Numbers{5});
    EXPECT_EQ(read(converted + "what follows is\x01 not read").b, Numbers{5});
}

TEST_F(Files, CompressedAndPlainOnesReadAlike) {
    const std::string text = smallFile("RHS\n b r 5\n");

    EXPECT_EQ(readProblem(write("plain.qps", text)).b, Numbers{5});
    EXPECT_EQ(readProblem(writeCompressed("packed.qps.gz", text)).b, Numbers{5});
    EXPECT_EQ(readProblem(writeCompressed("packed_too.qps", text)).b, Numbers{5});
}

TEST_F(Files, ErrorsCountTheLinesOfTheDecompressedText) {
    const std::string path = writeCompressed("t.gz", smallFile("RHS\n b q 5\n"));
    try {
        static_cast<void>(readProblem(path));
        FAIL() << "no error";
    } catch (const ReadError& error) {
        EXPECT_EQ(error.what(), path + ":9: unknown row 'q'");
    }
}

TEST_F(Files, ThatCannotBeReadSayWhy) {
    EXPECT_EQ(errorOfFile(folder_ / "absent.qps"), "cannot be opened: No such file or directory");
    EXPECT_EQ(errorOfFile(folder_), "cannot be read: Is a directory");
}

TEST_F(Files, DamagedCompressedDataAreNotTakenForAShortFile) {
    std::string noise;
    for (int line = 0; line < 3000; ++line) {
        noise += "* " + std::to_string(line * 7919 % 10007) + "\n";
    }
    const std::string path = writeCompressed("t.gz", noise + smallFile(""));
    ASSERT_EQ(readProblem(path).n, 2U);
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);

    EXPECT_EQ(errorOfFile(path), "the compressed data are damaged or incomplete");
}

TEST_F(Files, ALongTextIsRefusedAlsoWhenItIsPackedSmall) {
    const std::string path = writeCompressed("t.gz", smallFile(std::string(1000000, '\n')));
    ASSERT_LT(std::filesystem::file_size(path), 10000U);

    EXPECT_EQ(errorOfFile(path, {.textBytes = 999999}),
              "the text is longer than the 999999 bytes allowed");
    EXPECT_EQ(readProblem(path, {.textBytes = 1000200}).n, 2U);
}

}  // namespace
}  // namespace activeset::io::tests
