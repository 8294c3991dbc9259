// Arrays of every class and storage: layout, copies, shapes, buffers.
#include <algorithm>
#include <bit>
#include <functional>
#include <vector>

#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using ArrayStorage = FreshState;
using ArrayShape = FreshState;
using SparseArrays = FreshState;

TEST_F(ArrayStorage, EveryClassIsZeroFilledColumnMajorAndCopiedDeeply) {
    // The value of an element whose bytes are all 0xC8. It differs from class to class, and from
    // that of a signed char.
    const struct {
        vxClass elementClass;
        size_t size;
        double value;
    } classes[] = {{vxClass::Double, 8, std::bit_cast<double>(0xC8C8C8C8C8C8C8C8U)},
                   {vxClass::Single, 4, std::bit_cast<float>(0xC8C8C8C8U)},
                   {vxClass::Int32, 4, std::bit_cast<std::int32_t>(0xC8C8C8C8U)},
                   {vxClass::Logical, 1, 200},
                   {vxClass::Char, 1, 200}};
    for (const auto& [elementClass, size, v] : classes) {
        SCOPED_TRACE(static_cast<int>(elementClass));
        vxArray* a = vxCreateNumericMatrix(2, 3, elementClass, vxComplexity::Real);
        EXPECT_EQ(rowsOf(a), (Rows{{0, 0, 0}, {0, 0, 0}}));
        auto* const bytes = static_cast<unsigned char*>(vxGetData(a));
        std::fill_n(bytes + 4 * size, size, 0xC8);
        const vxArray* copy = vxCreateDeepCopy(a);
        const vxArray* turned = vxTranspose(a);
        std::fill_n(bytes, size, 0xC8);
        EXPECT_EQ(rowsOf(copy), (Rows{{0, 0, v}, {0, 0, 0}}));
        EXPECT_EQ(rowsOf(turned), (Rows{{0, 0}, {0, 0}, {v, 0}}));
        EXPECT_EQ(vxGetClass(copy), elementClass);
        EXPECT_EQ(vxGetClass(turned), elementClass);
    }
}

TEST_F(ArrayStorage, DescriptionsTellShapeClassStorageAndElements) {
    vxArray* whole = vxCreateNumericMatrix(1, 2, vxClass::Int32, vxComplexity::Real);
    static_cast<std::int32_t*>(vxGetData(whole))[1] = -7;
    EXPECT_EQ(vxDescribe(whole), "1-by-2 int32\n0 -7\n");
    EXPECT_EQ(vxDescribe(sparse({{0, 1.5}, {2, 0}})), "2-by-2 double sparse\n0 1.5\n2 0\n");
    EXPECT_EQ(vxDescribe(vxCreateNumericMatrix(0, 3, vxClass::Logical, vxComplexity::Complex)),
              "0-by-3 logical complex\n");
}

TEST_F(ArrayStorage, BuffersAreUsedInPlaceCopiedOnlyByADeepCopyAndBoundLaterShapes) {
    std::vector<double> buffer{1, 2, 3, 4, 5, 6};
    const vxArray* wrapped = vxWrapDoubleMatrix(buffer.data(), 2, 3);
    const vxArray* copied = vxCreateDoubleMatrixFrom(buffer.data(), 2, 3);
    const vxArray* deep = vxCreateDeepCopy(wrapped);
    vxArray* attached = vxCreateDoubleMatrix(2, 2, vxComplexity::Real);
    vxSetData(attached, buffer.data(), buffer.size());
    vxSetN(attached, 3);
    buffer[2] = 30;
    EXPECT_EQ(rowsOf(wrapped), (Rows{{1, 30, 5}, {2, 4, 6}}));
    EXPECT_EQ(rowsOf(attached), rowsOf(wrapped));
    EXPECT_EQ(rowsOf(copied), (Rows{{1, 3, 5}, {2, 4, 6}}));
    EXPECT_EQ(rowsOf(deep), rowsOf(copied));
    expectRaises(ArrayErrorIdentifier, "The buffer is shorter than the array.",
                 [&] { vxSetData(attached, buffer.data(), 5); });
    EXPECT_EQ(vxGetData(attached), buffer.data()) << "a refused buffer replaced the data";
    expectRaises(ArrayErrorIdentifier, "3-by-3 elements do not fit into a buffer of 6.",
                 [&] { vxSetM(attached, 3); });
}

TEST_F(ArrayShape, ShorteningKeepsTheDataForLengtheningAgain) {
    vxArray* a = column({1, 2, 3, 4});
    vxSetM(a, 2);
    EXPECT_EQ(rowsOf(vxCreateDeepCopy(a)), (Rows{{1}, {2}}));
    vxSetN(a, 2);
    EXPECT_EQ(rowsOf(a), (Rows{{1, 3}, {2, 4}}));
    expectRaises(ArrayErrorIdentifier, "2-by-3 elements do not fit into a buffer of 4.",
                 [&] { vxSetN(a, 3); });
    EXPECT_EQ(vxGetDimensions(a)[1], 2U) << "a refused shape was stored";
}

TEST_F(ArrayShape, MisuseAndSizesThatOverflowAreRaised) {
    constexpr size_t Half = size_t{1} << 33U;  // its square is 0 modulo 2⁶⁴
    vxArray* a = column({1, 2});
    struct Case {
        const char* text;
        std::function<void()> misuse;
    };
    const Case cases[] = {
        {OutOfMemoryText, [] { static_cast<void>(vxCreateDoubleMatrix(Half, Half, {})); }},
        {OutOfMemoryText, [] { static_cast<void>(vxCreateSparse(1, NoIndex, 1, {})); }},
        {OutOfMemoryText, [] { static_cast<void>(vxCalloc(Half, Half)); }},
        {"8589934592-by-8589934592 elements do not fit into a buffer of 0.",
         [] { static_cast<void>(vxWrapDoubleMatrix(nullptr, Half, Half)); }},
        {"Array handle is null.", [] { static_cast<void>(vxTranspose(nullptr)); }},
        {"Array is not of class double.",
         [] { static_cast<void>(vxGetDoubles(vxCreateCharArray("x"))); }},
        {"Array is not sparse.", [&] { static_cast<void>(vxGetColumnStarts(a)); }},
        {"Element index is outside the array.", [&] { static_cast<void>(vxGetElement(a, 2, 0)); }},
        {"Element index is outside the array.", [&] { static_cast<void>(vxGetElement(a, 0, 1)); }},
        {"The shape of a sparse array can not be changed.", [] { vxSetM(sparse({{1}}), 0); }},
        {"A buffer attaches to full real arrays only.", [] { vxSetData(sparse({{1}}), nullptr); }},
    };
    for (const Case& c : cases) {
        expectRaises(c.text == OutOfMemoryText ? OutOfMemoryIdentifier : ArrayErrorIdentifier,
                     c.text, c.misuse);
    }
}

TEST_F(SparseArrays, CopyAndTransposeKeepEveryStoredEntryInOrder) {
    const Rows rows{{0, 2, 0, 7}, {1, 0, 0, 0}, {4, 5, 0, 9}};
    vxArray* a = sparse(rows);
    const vxArray* copy = vxCreateDeepCopy(a);
    const vxArray* turned = vxTranspose(a);
    vxGetDoubles(a)[0] = 100;
    EXPECT_EQ(rowsOf(copy), rows);
    EXPECT_EQ(rowsOf(turned), (Rows{{0, 1, 4}, {2, 0, 5}, {0, 0, 0}, {7, 0, 9}}));
    // Entries outside the array are skipped, and so are those that a wrong column start adds.
    vxGetRowIndices(a)[1] = 7;
    vxGetColumnStarts(a)[4] = 99;
    std::fill_n(vxGetRowIndices(a) + 6, 6, 9);
    EXPECT_EQ(rowsOf(vxTranspose(a)), (Rows{{0, 100, 0}, {2, 0, 5}, {0, 0, 0}, {7, 0, 9}}));
}

}  // namespace
}  // namespace activeset::test
