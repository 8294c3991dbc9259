// Archives of arrays: those that NumPy and this library write, and those that are refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "io/npy_array.hpp"
#include "io/read.hpp"
#include "io/writer.hpp"
#include "io/zip_archive.hpp"

namespace activeset::io::tests {
namespace {

using namespace std::string_literals;
using ::testing::HasSubstr;

/// An array with this header. Its length takes two bytes in version 1 and four in later ones.
std::string npy(const std::string& header, const std::string& data, char version = 1) {
    const auto length = static_cast<char>(header.size());
    return "\x93NUMPY"s + version + '\0' + length + (version == 1 ? "\0"s : "\0\0\0"s) + header +
           data;
}
std::string typed(const std::string& type, const std::string& shape, const std::string& data) {
    return npy("{'descr': '" + type + "', 'fortran_order': False, 'shape': (" + shape + "), }\n",
               data);
}
std::string archive(const std::map<std::string, std::string>& members) {
    std::vector<ZipMember> list;
    list.reserve(members.size());
    for (const auto& [name, bytes] : members) {
        list.push_back({name + ".npy", bytes});
    }
    return zipped(list);
}
/// H, c, A and the sides.
std::vector<Numbers> numbersIn(const Model& model) {
    return {model.H, model.c, model.A, model.rowLower, model.rowUpper, model.lower, model.upper};
}
Model readMembers(const std::map<std::string, std::string>& members) {
    return readModelText(archive(members), "t.npz", Format::Automatic);
}
std::string errorOfMembers(const std::map<std::string, std::string>& members) {
    return errorFrom([&] { return readMembers(members); });
}

const std::string NoneOfProtocol3 =
    "\x80\x03"
    "cnumpy.core.multiarray\n_reconstruct\nq\0cnumpy\nndarray\nq\1K\0\x85q\2C\1bq\3\x87q\4Rq\5(K"
    "\1)cnumpy\ndtype\nq\6X\2\0\0\0O8q\7\x89\x88\x87q\x08Rq\x09(K\3X\1\0\0\0|q\nNNNJ\xff\xff\xff"
    "\xffJ\xff\xff\xff\xffK?tq\x0b"
    "b\x89]q\x0cNatq\rb."s;

TEST(NpzFormat, HasThePartsOfPythonWithTheirAbsentOnes) {
    const std::string none = typed("|O", "", NoneOfProtocol3);
    const Model model = readMembers({{"P", none},
                                     {"q", typed("|i1", "2,", "\x01\xFE"s)},
                                     {"G", npyBytes(Numbers{1, 2}, {2})},
                                     {"h", npyBytes(Numbers{4}, {})},
                                     {"A", npyBytes(Numbers{3, 5}, {1, 2})},
                                     {"b", npyBytes(Numbers{6}, {1, 1})},
                                     {"lb", npyBytes(Numbers{-Inf, -1e20}, {2})},
                                     {"ub", none},
                                     {"x0", npyBytes(Numbers{9, 9}, {2})},
                                     {"names", npyBytes({"x", "ж"})}});
    EXPECT_EQ(
        numbersIn(model),
        (std::vector<Numbers>{
            Numbers(4, 0.0), {1, -2}, {1, 3, 2, 5}, {-Inf, 6}, {4, 6}, {-Inf, -Inf}, {Inf, Inf}}));
    EXPECT_EQ(model.variables, (std::vector<std::string>{"x", "ж"}));
    EXPECT_EQ(model.rows, (std::vector<std::string>{"r1", "r2"}));
}

TEST(NpzFormat, ReadsEachTypeOrderAndVersion) {
    const std::vector<std::pair<std::string, Numbers>> cases{
        {typed(">f4", "1,", "\xC0\x20\0\0"s), {-2.5}},
        {typed("<f8", "1,", "\0\0\0\0\0\0\x04\xC0"s), {-2.5}},
        {typed(">i2", "2,", "\xFF\xFE\x01\x00"s), {-2, 256}},
        {typed("<u4", "1,", "\xFF\xFF\xFF\xFF"s), {4294967295.0}},
        {typed("<i8", "1,", "\0\0\0\0\0\0\0\x80"s), {-0x1p63}},
        {typed("|b1", "2,", "\x01\0"s), {1, 0}}};
    for (const auto& [member, expected] : cases) {
        EXPECT_EQ(readMembers({{"q", member}}).c, expected);
    }
    const std::string columns = "{\"shape\": (2,2),'fortran_order':True, 'descr':'|i1'}";
    const std::string rows = "{'descr': '|i1', 'shape': (2, 2), 'fortran_order': False}";
    for (const char version : {'\x01', '\x02', '\x03'}) {
        EXPECT_EQ(readMembers({{"G", npy(columns, "\1\2\3\4"s, version)}}).A,
                  (Numbers{1, 2, 3, 4}));
        EXPECT_EQ(readMembers({{"G", npy(rows, "\1\2\3\4"s, version)}}).A, (Numbers{1, 3, 2, 4}));
    }
}

TEST(NpzFormat, IsWrittenAsItIsReadEqualitiesLast) {
    Model model{.name = "",
                .H = {2, 0.1, 0.1, 3},
                .c = {-1, 1e-300},
                .constant = 7,
                .A = {1, 2, 0, 1.0 / 3, 0, -1},
                .rowLower = {2, 1, -Inf},
                .rowUpper = {2, Inf, 4},
                .lower = {-2, -Inf},
                .upper = {Inf, 5},
                .variables = {"a b", "\xE2\x82\xAC"},
                .rows = {"both", "low", "up"}};
    const std::string text = modelText(model, Format::Npz);
    EXPECT_EQ(modelText(model, Format::Npz), text) << "no clock in it";
    const Model back = readModelText(text, "t.npz", Format::Automatic);
    EXPECT_EQ(numbersIn(back), (std::vector<Numbers>{model.H,
                                                     model.c,
                                                     {2, 0, 1, 0, -1, 1.0 / 3},
                                                     {1, -Inf, 2},
                                                     {Inf, 4, 2},
                                                     model.lower,
                                                     model.upper}));
    EXPECT_EQ(back.constant, 7.0);
    EXPECT_EQ(back.variables, model.variables);
    EXPECT_EQ(back.rows, (std::vector<std::string>{"low", "up", "both"}));
    model.variables[0] = "\xFF";
    EXPECT_EQ(readModelText(modelText(model, Format::Npz), "t.npz", Format::Npz).variables[0],
              "x1");
}

// Rows up ≤ 4, low ≥ 1, both = 2, same = 3; both costs more above than below, same the same.
TEST(NpzFormat, KeepsWhatSoftSidesCost) {
    const Model model{.name = "",
                      .H = {0},
                      .c = {1},
                      .A = {1, 1, 1, 1},
                      .rowLower = {-Inf, 1, 2, 3},
                      .rowUpper = {4, Inf, 2, 3},
                      .lower = {0},
                      .upper = {Inf},
                      .variables = {"x"},
                      .rows = {"up", "low", "both", "same"},
                      .rowPenalty = {.lowerLinear = {9, 5, 6, 7},
                                     .upperLinear = {Inf, 9, 8, 7},
                                     .upperQuadratic = {1, 0, 2, 0}},
                      .boundPenalty = {.lowerQuadratic = {3}, .upperQuadratic = {3}}};
    const Model back = readModelText(modelText(model, Format::Npz), "t.npz", Format::Npz);
    EXPECT_EQ(back.rows, model.rows);
    EXPECT_EQ(back.rowUpper, model.rowUpper);
    EXPECT_EQ(back.rowPenalty.lowerLinear, (Numbers{Inf, 5, 6, 7}));
    EXPECT_EQ(back.rowPenalty.lowerQuadratic, Numbers());
    EXPECT_EQ(back.rowPenalty.upperLinear, (Numbers{Inf, Inf, 8, 7}));
    EXPECT_EQ(back.rowPenalty.upperQuadratic, (Numbers{0, 0, 2, 0}));
    EXPECT_EQ(back.boundPenalty.lowerLinear, Numbers{0});
    EXPECT_EQ(back.boundPenalty.lowerQuadratic, Numbers{3});
    EXPECT_EQ(back.boundPenalty.upperLinear, Numbers());
}

TEST(NpzFormat, HasPenaltiesByKindOfSide) {
    const std::string two = npyBytes(Numbers{1, 2}, {2});
    const std::string one = npyBytes(Numbers{0.5}, {});
    const std::map<std::string, std::string> hard{
        {"G", npyBytes(Numbers{1, 2, 3, 4}, {2, 2})}, {"h", two}, {"lb", two}};
    const auto with = [&](const char* name, const std::string& bytes) {
        auto members = hard;
        members.emplace(name, bytes);
        return members;
    };
    EXPECT_EQ(readMembers(with("soft_h_linear", one)).rowPenalty.upperLinear, (Numbers{0.5, 0.5}));
    const Model curved = readMembers(with("soft_lb_quadratic", npyBytes(Numbers{0, 2}, {2})));
    EXPECT_EQ(curved.boundPenalty.lowerLinear, (Numbers{Inf, 0}));
    EXPECT_THAT(errorOfMembers(with("soft_l_linear", one)),
                HasSubstr("soft_l_linear.npy: expected l beside it"));
    EXPECT_THAT(errorOfMembers(with("soft_h_linear", npyBytes(Numbers(3), {3}))),
                HasSubstr("soft_h_linear.npy: has the size 3, expected 2"));
    EXPECT_THAT(errorOfMembers(with("soft_h_linear", npyBytes(Numbers{1, -1}, {2}))),
                HasSubstr("soft_h_linear.npy: entry 1: expected a penalty from 0 up"));
    EXPECT_THAT(errorOfMembers(with("soft_lb_quadratic", npyBytes(Numbers{Inf}, {}))),
                HasSubstr("expected a penalty from 0 up"));
    EXPECT_THAT(errorOfMembers(with("soft_q_linear", one)), HasSubstr("found 'soft_q_linear.npy'"));
}

TEST(NpzFormat, NeverUnpicklesAndNamesTheMember) {
    std::string other = NoneOfProtocol3;
    other[other.size() - 6] = 'K';
    const std::string one = npyBytes(Numbers{1}, {1});
    const std::vector<std::pair<std::map<std::string, std::string>, const char*>> cases{
        {{{"P", typed("|O", "", other)}}, "t.npz: P.npy: expected an array of numbers or texts"},
        {{{"q", typed("|O", "1,", NoneOfProtocol3)}}, "q.npy: expected an array of numbers"},
        {{{"q", "\x93NUMPY\x04"s}}, "q.npy: expected an array in the format .npy, version 1 to 3"},
        {{{"q", typed("<f8", "2,", "12345678")}}, "expected 16 bytes of entries, found 8"},
        {{{"q", typed("<f8", "4611686018427387904, 4", "")}}, "expected too many bytes"},
        {{{"q", npy("{'descr': '<f8', 'shape': (1,)}", "12345678")}},
         "descr, fortran_order and sh"},
        {{{"q", npyBytes({"x"})}}, "q.npy: expected numbers, found texts"},
        {{{"q", one}, {"names", one}}, "names.npy: expected texts, found numbers"},
        {{{"q", typed("<i8", "1,", "\1\0\0\0\0\0\x20\0"s)}}, "a number that a double can hold"},
        {{{"q", npyBytes(Numbers{1, Inf}, {2})}}, "q.npy: entry 1: expected a finite number"},
        {{{"P", npyBytes(Numbers{1, 2, 3, 4}, {2, 2})}}, "P.npy: entries (0, 1) and its mirror"},
        {{{"P", npyBytes(Numbers{1, 2}, {2, 1})}}, "P.npy: has the size 2, expected 1"},
        {{{"q", one}, {"G", npyBytes(Numbers(8), {2, 2, 2})}},
         "a matrix, found the shape (2, 2, 2)"},
        {{{"q", one}, {"lb", npyBytes(Numbers{1, 2}, {2})}}, "lb.npy: has the size 2, expected 1"},
        {{{"q", one}, {"ub", npyBytes(Numbers{-Inf}, {1})}}, "ub.npy: entry 0: expected a side"},
        {{{"lb", one}, {"ub", npyBytes(Numbers{0}, {1})}},
         "lb.npy: entry 0: expected a lower side"},
        {{{"q", one}, {"A", one}}, "A.npy: expected A and b, or neither"},
        {{{"q", one}, {"h", one}}, "h.npy: expected G beside it"},
        {{{"q", one}, {"names", npyBytes({""})}}, "names.npy: expected a name that is new"},
        {{{"q", one}, {"Q", one}}, "(docs/files.md), found 'Q.npy'"},
        {{{"constant", one}}, "t.npz: no variables; expected P, q"}};
    for (const auto& [members, part] : cases) {
        EXPECT_THAT(errorOfMembers(members), HasSubstr(part));
    }
}

TEST(NpzFormat, RefusesDamagedAndHugeArchives) {
    const auto error = [](const std::string& text, const ReadLimits& limits = {}) {
        return errorFrom([&] { return readModelText(text, "t.npz", Format::Npz, limits); });
    };
    std::string text = archive({{"q", npyBytes(Numbers{1, 2, 3}, {3})}});
    EXPECT_EQ(error("not an archive"), "t.npz: expected an archive, as numpy.savez writes it");
    EXPECT_EQ(error(archive({{"q", std::string(1U << 20U, '0')}}), {.textBytes = 1U << 19U}),
              "t.npz: q.npy: the members are longer than the 524288 bytes allowed");
    EXPECT_THAT(error(text, {.denseBytes = 64}), HasSubstr("out of memory: the dense matrices"));
    EXPECT_EQ(error(text), "no error");
    text[text.find("q.npy") + 20] ^= 0x55;
    EXPECT_EQ(error(text), "t.npz: q.npy: the compressed data are damaged or incomplete");
}

}  // namespace
}  // namespace activeset::io::tests
