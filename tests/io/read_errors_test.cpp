// Every fault that a file can have, with the place and the words of the message.
#include <gtest/gtest.h>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

struct ErrorCase {
    std::string text;
    std::string error;  ///< after "t.qps:"
};

/// smallFile() with `line` in place of its line number `number`.
std::string replaced(std::size_t number, const std::string& line) {
    std::string text = smallFile("");
    std::size_t begin = 0;
    for (std::size_t i = 1; i < number; ++i) {
        begin = text.find('\n', begin) + 1;
    }
    return text.replace(begin, text.find('\n', begin) - begin, line);
}

std::string bounds(const std::string& cards) {
    return smallFile("BOUNDS\n" + cards);
}

const std::vector<ErrorCase> Cases{
    // Sections.
    {"", " the file is empty"},
    {"NAME t FREE\nROWS\n N o\n", "3: the file ends without ENDATA"},
    {"NAME t FREE\n x\n", "2:2: data before the first section"},
    {"NAME t FREE\nROWS\n N o\nENDATA\n", "4:1: section ENDATA comes before COLUMNS"},
    {smallFile("QSECTION r\n x x 1\n"), "8:10: row 'r' is quadratic; only the objective may be"},
    {smallFile("QUADOBJ\nQMATRIX\n"), "9:1: section QMATRIX: the file has it on line 8 already"},
    {smallFile("RHS r 5\n"), "8:5: unexpected 'r 5' after the section name"},
    {smallFile("SOS\n"), "8:1: expected a section from NAME to ENDATA, found 'SOS'"},
    {"OBJSENSE\nROWS\n", "2:1: OBJSENSE without MAX or MIN"},
    {"OBJSENSE\n BEST\n", "2:2: objective sense 'BEST' is neither MAX nor MIN"},
    {"OBJSENSE MAX\n MIN\n", "2:2: a second objective sense"},
    {replaced(3, " L o"), "2:1: no objective: ROWS has no N row"},
    {"NAME t FREE\nROWS\n N o\nCOLUMNS\nENDATA\n", "4:1: COLUMNS is empty"},
    {replaced(6, " x o 1\x01"), "6:7: a control character, which does not belong in a text file"},
    // Rows and columns.
    {replaced(4, " X r"), "4:2: row type 'X' is none of N, E, L and G"},
    {replaced(4, " L o"), "4:4: a second row 'o'"},
    {replaced(4, " L"), "4:3: too few fields"},
    {replaced(4, " L " + std::string(256, 'q')), "4:4: a name of more than 255 characters"},
    {replaced(6, " x o 1 r"), "6:9: a number is missing"},
    {replaced(6, " x o 1 r 1 o 2"), "6:12: too many fields"},
    {replaced(6, " x o 1 o 2"), "6:8: a second entry for row 'o' in column 'x'"},
    {replaced(7, " x r 2"), "7:4: a second entry for row 'r' in column 'x'"},
    {replaced(7, " y o 1\n x r 2"),
     "8:2: column 'x' was met before; its lines must stand together"},
    {replaced(6, " M1 'MARKER' 'INTORG'"),
     "6:5: integer variables cannot be solved for; without MARKER lines they are continuous"},
    // Numbers.
    {replaced(6, " x o 1,5"), "6:6: '1,5' is not a number"},
    {replaced(6, " x o +-1"), "6:6: '+-1' is not a number"},
    {replaced(6, " x o nan"), "6:6: 'nan' is not a number"},
    {replaced(6, " x o 1e999"), "6:6: '1e999' is outside the range of a double"},
    {replaced(6, " x o inf"), "6:6: 'inf' where only a finite number makes sense"},
    // Sides, ranges and bounds.
    {smallFile("RHS\n b r 5\n b r 5\n"), "10:4: a second right-hand side for row 'r'"},
    {smallFile("RHS\n b r 5\n d o 5\n"), "10:2: a second vector 'd' beside 'b'"},
    {smallFile("RHS\n b r -1e20\n"),
     "9:6: row 'r' cannot be met: its right-hand side '-1e20' counts as infinite"},
    {smallFile("RANGES\n b o 5\n"), "9:4: a range for the objective 'o'"},
    {smallFile("RANGES\n b r 5\n b r 5\n"), "10:4: a second range for row 'r'"},
    {smallFile("RHS\n b r inf\nRANGES\n b r 5\n"),
     "11:4: a range for row 'r', whose right-hand side counts as infinite"},
    {bounds(" UP b q 5\n"), "9:7: unknown column 'q'"},
    {bounds(" UP b x\n"), "9:8: a number is missing"},
    {bounds(" UP\n"), "9:4: too few fields"},
    {bounds(" FR b x 1z\n"), "9:9: '1z' is not a number"},
    {bounds(" LI b x 5\n"), "9:2: bound type 'LI' is none of LO, UP, FX, FR, MI, PL and BV"},
    {bounds(" FX b x inf\n"),
     "9:9: bound FX of 'inf' counts as infinite and leaves column 'x' no value"},
    {bounds(" LO b x 1e20\n"),
     "9:9: bound LO of '1e20' counts as infinite and leaves column 'x' no value"},
    {bounds(" UP b x -2\n LO b x 0\n"), "10:7: column 'x' has a lower bound above its upper bound"},
    {bounds(" LO b x 1\n MI b x\n"),
     "10:7: bound MI for column 'x', which line 9 has bounded already"},
    {bounds(" PL b x\n UP b x 1\n"),
     "10:7: bound UP for column 'x', which line 9 has bounded already"},
    // The quadratic part.
    {smallFile("QUADOBJ\n x q 5\n"), "9:4: unknown column 'q'"},
    {smallFile("QUADOBJ\n x x 1\n x y 1\n y x 2\n x x 5\n"),
     "11:4: a second entry for ('x', 'y'); QUADOBJ takes one triangle, QMATRIX both"},
    {smallFile("QMATRIX\n y x 1\n x y 1.5\n"),
     "9:2: the entry for ('y', 'x') is not its mirror's; QMATRIX takes both triangles, "
     "QUADOBJ one"},
    // Without FREE in the first line both formats are tried, and the error is that of the one that
    // read further. Only fixed columns separate "cost of" from the number, so they get to line 6.
    {"ROWS\n N  cost of\n L  row\nCOLUMNS\n    x         cost of            1.0\n"
     "    x         rwo                2.0\nENDATA\n",
     "6:15: unknown row 'rwo'"},
    {"ROWS\n N cost\n L row\nCOLUMNS\n x cost 1 rwo 2\nENDATA\n", "5:11: unknown row 'rwo'"},
    {"ROWS\n N  c c\nCOLUMNS\n    x         c c        4.0000000000000000\nENDATA\n",
     "4:37: text that belongs to no field"},
};

TEST(ReadErrors, NameThePlaceAndTheFault) {
    for (const ErrorCase& example : Cases) {
        EXPECT_EQ(errorOf(example.text), "t.qps:" + example.error) << example.text;
    }
}

TEST(ReadErrors, ProblemsTooLargeForDenseMatricesAreRefused) {
    // H takes 2·2 doubles and A 1·2: 48 bytes.
    EXPECT_EQ(read(smallFile(""), {.denseBytes = 48}).n(), 2U);
    EXPECT_EQ(errorOf(smallFile(""), {.denseBytes = 47}),
              "t.qps: out of memory: the dense matrices of 2 variables would take 1 MB, more "
              "than the 1 MB allowed");
}

}  // namespace
}  // namespace activeset::io::tests
