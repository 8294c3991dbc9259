// Fixed and free format, line ends, comments and compressed files.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

TEST(FixedFormat, NamesMayContainBlanks) {
    const std::string text =
        "* columns: 2-3, 5-12, 15-22, 25-36, 40-47, 50-61\n"
        "NAME          two words\n"
        "ROWS\n N  total co\n L  row 1\n  G row 2\n"
        "COLUMNS\n"
        "    a b       total co           1.5   row 1              2.0\n"
        "    c         row 2              4.0\n"
        "RHS\n"
        "              row 1              9.0   row 2             -3.0\n"
        "BOUNDS\n"
        " UP bnd       a b                5.0\n"
        " FR           c\n"
        "QUADOBJ\n"
        "    a b       c                  0.5   a b                1.0\n"
        "ENDATA\n";
    const Model model = read(text);

    EXPECT_EQ(model.name, "two words");
    EXPECT_EQ(model.variables, (std::vector<std::string>{"a b", "c"}));
    EXPECT_EQ(model.c, (Numbers{1.5, 0}));
    EXPECT_EQ(model.A, (Numbers{2, 0, 0, 4}));
    EXPECT_EQ(model.rowUpper[0], 9.0);
    EXPECT_EQ(model.rowLower[1], -3.0);
    EXPECT_EQ(model.rows[1], "row 2");
    EXPECT_EQ(model.upper[0], 5.0);
    EXPECT_LT(model.lower[1], -1e300);
    EXPECT_EQ(model.H, (Numbers{1, 0.5, 0.5, 0}));
}

TEST(FreeFormat, IsRecognisedWithoutTheMarkWhichRulesOutNamesWithBlanks) {
    const Model model = read(
        "NAME a longer title\nROWS\n N averylongobjectivename\n L r\nCOLUMNS\n"
        "\tx averylongobjectivename 1 r\t2\nRHS\n r 3\nENDATA\n");
    EXPECT_EQ(model.name, "a longer title");
    EXPECT_EQ(model.A, Numbers{2});
    EXPECT_EQ(model.rowUpper, Numbers{3});

    // In fixed columns the name is "x 1".
    const std::string body = "ROWS\n N  o\nCOLUMNS\n    x 1       o                  2.0\nENDATA\n";
    EXPECT_EQ(read("NAME          t\n" + body).variables[0], "x 1");
    EXPECT_EQ(errorOf("NAME t FREE\n" + body), "t.qps:5:7: unknown row '1'");
    EXPECT_EQ(read(smallFile("")).name, "small");
    EXPECT_EQ(read("\xEF\xBB\xBF" + smallFile("")).name, "small");  // a byte order mark
}

TEST(Lines, MayEndAsOnOtherSystemsAndBeEmpty) {
    std::string text = smallFile("\n   \n* a comment\nRHS\n b r 5\n") + "not read\n";
    for (std::size_t end = 0; (end = text.find('\n', end)) != std::string::npos; end += 2) {
        text.insert(end, 1, '\r');
    }

    EXPECT_EQ(read(text).rowUpper, Numbers{5});
}

TEST(Sections, TellTheSenseAnywhereAndTheObjectivesCurvature) {
    const Model model = read(smallFile("QSECTION o\n x x 3\n x y 1\nOBJSENSE\n MAX\n"));
    EXPECT_TRUE(model.maximise);
    EXPECT_EQ(model.H, (Numbers{-3, -1, -1, 0}));
}

class Files : public ::testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(path_); }

    /// Writes the file, compressed or ("wT") not.
    void write(const std::string& text, const char* mode = "wb") const {
        const gzFile file = gzopen(path_.c_str(), mode);
        gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
        gzclose(file);
    }
    /// The text of the error after the path.
    [[nodiscard]] std::string error(const ReadLimits& limits = {}) const {
        return errorFrom([&] { return readModel(path_, Format::Mps, limits); })
            .substr(path_.size());
    }

    const std::string path_ = ::testing::TempDir() + "activeset_io_" +
                              ::testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(Files, CompressedAndPlainOnesReadAlike) {
    for (const char* const mode : {"wT", "wb"}) {
        write(smallFile("RHS\n b r 5\n"), mode);
        EXPECT_EQ(readModel(path_).rowUpper, Numbers{5});
        write(smallFile("RHS\n b q 5\n"), mode);
        EXPECT_EQ(error(), ":9:4: unknown row 'q'");
    }
}

TEST_F(Files, OfBzip2AreReadWhole) {
    write(smallFile("RHS\n b r 5\n"), "wT");
    if (std::system(("bzip2 --force --keep " + path_).c_str()) != 0) {
        GTEST_SKIP() << "no bzip2 here";
    }
    const std::string packed = path_ + ".bz2";
    EXPECT_EQ(readModel(packed).rowUpper, Numbers{5});
    const auto half = "head -c 20 " + path_ + " | bzip2; tail -c +21 " + path_ + " | bzip2";
    ASSERT_EQ(std::system(("(" + half + ") >" + packed).c_str()), 0);  // as parallel programs write
    EXPECT_EQ(readModel(packed).rowUpper, Numbers{5});
    std::filesystem::resize_file(packed, std::filesystem::file_size(packed) / 2);
    EXPECT_EQ(errorFrom([&] { return readModel(packed); }),
              packed + ": the compressed data are damaged or incomplete");
    std::filesystem::remove(packed);
    write("BZh is a name\n", "wT");
    EXPECT_EQ(error(), ":1:1: expected a section from NAME to ENDATA, found 'BZh'");
}

TEST_F(Files, ThatCannotBeReadSayWhy) {
    EXPECT_EQ(error(), ": cannot be opened: No such file or directory");

    write(smallFile(std::string(1000000, '\n')));  // short when compressed
    EXPECT_EQ(error({.textBytes = 999999}), ": the text is longer than the 999999 bytes allowed");

    // The reader stops at ENDATA. The text after it is only there to be damaged.
    std::string text = smallFile("");
    for (int line = 0; line < 3000; ++line) {
        text += std::to_string(line * 7919 % 10007) + "\n";
    }
    write(text);
    ASSERT_EQ(readModel(path_).n(), 2U);
    std::filesystem::resize_file(path_, std::filesystem::file_size(path_) / 2);
    EXPECT_EQ(error(), ": the compressed data are damaged or incomplete");

    EXPECT_EQ(errorFrom([] { return readModel("/"); }), "/: cannot be read: Is a directory");
}

}  // namespace
}  // namespace activeset::io::tests
