// Arrays of every class and storage: layout, copies, shapes, buffers, text.
#include <algorithm>
#include <functional>
#include <vector>

#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using ArrayStorage = FreshState;
using ArrayShape = FreshState;
using ArrayText = FreshState;
using SparseArrays = FreshState;

template <class T>
double put(vxArray* array, size_t place, T value) {
    static_cast<T*>(vxGetData(array))[place] = value;
    return static_cast<double>(value);
}

/// Stores a value that a neighbouring class, or a char taken as signed, can not hold.
double putSample(vxArray* array, size_t place) {
    switch (vxGetClass(array)) {
        case vxClass::Double:
            return put(array, place, 0.1);
        case vxClass::Single:
            return put(array, place, -0.5F);
        case vxClass::Int32:
            return put(array, place, std::int32_t{-70000});
        case vxClass::Logical:
        case vxClass::Char:
            break;
    }
    return put(array, place, static_cast<unsigned char>(200));
}

TEST_F(ArrayStorage, EveryClassIsZeroFilledColumnMajorAndCopiedDeeply) {
    for (const vxClass elementClass :
         {vxClass::Double, vxClass::Single, vxClass::Int32, vxClass::Logical, vxClass::Char}) {
        SCOPED_TRACE(static_cast<int>(elementClass));
        vxArray* a = vxCreateNumericMatrix(2, 3, elementClass, vxComplexity::Real);
        EXPECT_EQ(rowsOf(a), (Rows{{0, 0, 0}, {0, 0, 0}}));
        const double v = putSample(a, 4);
        const vxArray* copy = vxCreateDeepCopy(a);
        const vxArray* turned = vxTranspose(a);
        putSample(a, 0);
        EXPECT_EQ(rowsOf(copy), (Rows{{0, 0, v}, {0, 0, 0}}));
        EXPECT_EQ(rowsOf(turned), (Rows{{0, 0}, {0, 0}, {v, 0}}));
        EXPECT_EQ(vxGetClass(copy), elementClass);
        EXPECT_EQ(vxGetClass(turned), elementClass);
        EXPECT_EQ(vxGetImaginaryData(turned), nullptr);
    }
}

TEST_F(ArrayStorage, ImaginaryPartsAreCopiedAndTransposedUnconjugated) {
    vxArray* a = vxCreateDoubleMatrix(2, 3, vxComplexity::Complex);
    static_cast<double*>(vxGetImaginaryData(a))[1] = 7;  // (1, 0)
    for (const auto& [derived, place] : {std::pair(vxCreateDeepCopy(a), 1), {vxTranspose(a), 3}}) {
        ASSERT_TRUE(vxIsComplex(derived));
        EXPECT_EQ(static_cast<double*>(vxGetImaginaryData(derived))[place], 7.0);
        EXPECT_EQ(rowsOf(derived)[1][0], 0.0) << "the real part took the imaginary one";
    }
}

TEST_F(ArrayStorage, WrappedBuffersAreUsedInPlaceAndCopiedOnlyByADeepCopy) {
    std::vector<double> buffer{1, 2, 3, 4, 5, 6};
    vxArray* wrapped = vxWrapDoubleMatrix(buffer.data(), 2, 3);
    const vxArray* copied = vxCreateDoubleMatrixFrom(buffer.data(), 2, 3);
    const vxArray* deep = vxCreateDeepCopy(wrapped);
    buffer[2] = 30;
    EXPECT_EQ(rowsOf(wrapped), (Rows{{1, 30, 5}, {2, 4, 6}}));
    EXPECT_EQ(rowsOf(copied), (Rows{{1, 3, 5}, {2, 4, 6}}));
    EXPECT_EQ(rowsOf(deep), rowsOf(copied));
    vxDestroyArray(wrapped);
    EXPECT_EQ(buffer[5], 6.0);
}

TEST_F(ArrayStorage, AnAttachedBufferReplacesOwnedDataAndBoundsLaterShapes) {
    std::vector<double> buffer{1, 2, 3, 4, 5, 6};
    vxArray* a = vxCreateDoubleMatrix(2, 2, vxComplexity::Real);
    vxSetData(a, buffer.data(), buffer.size());
    vxSetN(a, 3);
    EXPECT_EQ(rowsOf(a), (Rows{{1, 3, 5}, {2, 4, 6}}));
    expectRaises(ArrayErrorIdentifier, "The buffer is shorter than the array.",
                 [&] { vxSetData(a, buffer.data(), 5); });
    EXPECT_EQ(vxGetData(a), buffer.data()) << "a refused buffer replaced the data";
    expectRaises(ArrayErrorIdentifier, "3-by-3 elements do not fit into a buffer of 6.",
                 [&] { vxSetM(a, 3); });
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
    vxSetM(a, 0);
    EXPECT_TRUE(vxIsEmpty(a));
    EXPECT_EQ(vxGetNumberOfElements(a), 0U);
}

TEST_F(ArrayShape, MisuseAndSizesThatOverflowAreRaised) {
    constexpr size_t Half = size_t{1} << 33U;  // its square is 0 in 64 bits
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
    ASSERT_TRUE(vxIsSparse(turned));
    // Entries outside the array are passed over, also those that a wrong column start adds.
    vxGetRowIndices(a)[1] = 7;
    vxGetColumnStarts(a)[4] = 99;
    std::fill_n(vxGetRowIndices(a) + 6, 6, 9);
    EXPECT_EQ(rowsOf(vxTranspose(a)), (Rows{{0, 100, 0}, {2, 0, 5}, {0, 0, 0}, {7, 0, 9}}));
}

TEST_F(ArrayText, CharactersAreReadInColumnOrderAndOtherClassesAreEmpty) {
    vxArray* text = vxCreateCharArray("abcdef");
    vxSetM(text, 0);
    vxSetN(text, 3);
    vxSetM(text, 2);
    EXPECT_EQ(vxArrayToStdString(text), "abcdef");
    EXPECT_EQ(vxGetElement(text, 0, 1), 'c');
    EXPECT_EQ(vxArrayToStdString(column({65})), "");
    EXPECT_EQ(vxArrayToStdString(nullptr), "");
}

TEST_F(ArrayText, DescriptionsNameShapeClassAndStorage) {
    EXPECT_EQ(vxDescribe(array({{1, -0.5, 3}, {4, 5, 6e7}})),
              "2-by-3 double\n1 -0.5 3\n4 5 6e+07\n");
    EXPECT_EQ(vxDescribe(sparse({{0, 2}})), "1-by-2 double sparse\n0 2\n");
    EXPECT_EQ(vxDescribe(vxCreateNumericMatrix(1, 1, vxClass::Int32, vxComplexity::Complex)),
              "1-by-1 int32 complex\n0\n");
}

}  // namespace
}  // namespace activeset::test
