// Reading the working set from the host, handing it back, printing it.
#include <cstdint>

#include "engine/scripted_solver.hpp"
#include "support/golden.hpp"

namespace activeset::test {
namespace {

void setSizes(size_t fixed, size_t eq, size_t ineq, size_t lower, size_t upper, size_t variables) {
    OPTsizes::setmFixed(fixed);
    OPTsizes::setmEq(eq);
    OPTsizes::setmIneq(ineq);
    OPTsizes::setmLB(lower);
    OPTsizes::setmUB(upper);
    OPTsizes::setnVar(variables);
    OPTsizes::setmConstr(fixed + eq + ineq + lower + upper);
}

class WorkingSetLists : public FreshState {};

TEST_F(WorkingSetLists, NumbersRunByKindAndTheLowerBlockIsAsWideAsThereAreVariables) {
    setSizes(2, 1, 3, 2, 1, 4);
    ActiveSet set;
    ASSERT_EQ(
        set.setWsetIndices(column({2}), column({1}), column({3, 1}), column({4}), column({2})), 1);
    EXPECT_EQ(firstOf(set.getWset(), ActiveSet::getmaConstr()), (Indices{1, 2, 5, 3, 9, 11}));
    EXPECT_EQ(firstOf(set.getWfixed(), ActiveSet::getmaFixed()), (Indices{1}));
    EXPECT_EQ(firstOf(set.getWeq(), ActiveSet::getmaEq()), (Indices{0}));
    EXPECT_EQ(firstOf(set.getWineq(), ActiveSet::getmaIneq()), (Indices{2, 0}));
    EXPECT_EQ(firstOf(set.getWlower(), ActiveSet::getmaLB()), (Indices{3}));
    EXPECT_EQ(firstOf(set.getWupper(), ActiveSet::getmaUB()), (Indices{1}));
}

TEST_F(WorkingSetLists, EntriesAreTruncatedTowardZeroAndWrapBelowOne) {
    setSizes(0, 1, 5, 0, 0, 5);
    ActiveSet set;
    set.setWsetIndices(nullptr, nullptr, column({2.9, 0.5, 0.0, -1.5, 0x1p63 + 2048}), nullptr,
                       nullptr);
    constexpr size_t Wrapped = SIZE_MAX;  // −1
    constexpr size_t Huge = (size_t{1} << 63U) + 2048;
    EXPECT_EQ(firstOf(set.getWineq(), 5), (Indices{1, 0, Wrapped, Wrapped - 1, Huge}));
    EXPECT_EQ(firstOf(set.getWset(), 5), (Indices{2, 1, 0, Wrapped, Huge + 1}));
    EXPECT_EQ(vxGetDoubles(set.getWineqVxArray())[4], 0x1p63 + 2048);  // unsigned on the way back
}

TEST_F(WorkingSetLists, AListMayBeAsLongAsItsKindAndTheKindsAreTestedInOrder) {
    setSizes(0, 0, 1, 1, 1, 3);
    const struct {
        std::vector<double> ineq, lower, upper;
        const char* kind;
        const char* word;
    } cases[] = {{{1, 1}, {1, 1}, {1, 1}, "Inequality", "inequality"},
                 {{1}, {1, 1}, {1, 1}, "LowerBound", "lower bound"},
                 {{1}, {1}, {1, 1}, "UpperBound", "upper bound"}};
    for (const auto& c : cases) {
        ActiveSet set;
        const std::string word = c.word;
        expectRaises("optim:activesetqp:Active" + std::string(c.kind) + "SizeError",
                     "Length of active " + word + " vector must be less than " + word + " vector.",
                     [&] {
                         set.setWsetIndices(nullptr, nullptr, column(c.ineq), column(c.lower),
                                            column(c.upper));
                     });
    }
    ActiveSet set;
    EXPECT_EQ(set.setWsetIndices(nullptr, nullptr, column({1}), column({1}), column({1})), 1);
}

TEST_F(WorkingSetLists, EmptyArraysOfAnyShapeGiveAnEmptyWorkingSet) {
    setSizes(1, 1, 1, 1, 1, 3);
    ActiveSet set;
    set.setWsetIndices(nullptr, array({}), column({}), array({{}, {}}), array({}, 3));
    for (const size_t count :
         {ActiveSet::getmaFixed(), ActiveSet::getmaEq(), ActiveSet::getmaIneq(),
          ActiveSet::getmaLB(), ActiveSet::getmaUB(), ActiveSet::getmaConstr()}) {
        EXPECT_EQ(count, 0U);
    }
    for (const vxArray* list : {set.getWeqVxArray(), set.getWineqVxArray(), set.getWlowerVxArray(),
                                set.getWupperVxArray()}) {
        EXPECT_EQ(vxGetM(list), 0U);
        EXPECT_EQ(vxGetN(list), 1U);
    }
}

TEST_F(WorkingSetLists, TheHostGetsOneBasedColumnsOfTheEntriesInUse) {
    setSizes(0, 3, 3, 3, 3, 4);
    ActiveSet set;
    const size_t entries[] = {0, 3, 2, 9};
    set._setWset(entries);
    set._setWeq(entries);
    set._setWineq(entries);
    set._setWlower(entries);
    set._setWupper(entries);
    ActiveSet::setmaEq(1);
    ActiveSet::setmaIneq(3);
    ActiveSet::setmaLB(0);
    ActiveSet::setmaUB(2);
    EXPECT_EQ(firstOf(set.getWset(), 4), (Indices{0, 3, 2, 9}));
    EXPECT_EQ(rowsOf(set.getWeqVxArray()), (Rows{{1}}));
    EXPECT_EQ(rowsOf(set.getWineqVxArray()), (Rows{{1}, {4}, {3}}));
    EXPECT_EQ(rowsOf(set.getWlowerVxArray()), Rows{});
    EXPECT_EQ(rowsOf(set.getWupperVxArray()), (Rows{{1}, {4}}));
    EXPECT_EQ(rowsOf(set.getWupperVxArrayPhaseOne()), (Rows{{1}, {4}}));
}

TEST_F(WorkingSetLists, TheFirstOfEqualEntriesIsFoundAndAbsenceIsNoError) {
    const ActiveSet set;
    const size_t list[] = {7, 4, 4};
    size_t pos = 99;
    EXPECT_EQ(set.findConstraint(list, 3, 4, pos), 1);
    EXPECT_EQ(pos, 1U);
    EXPECT_EQ(set.findConstraint(list, 1, 4, pos), -1);
    EXPECT_EQ(pos, 0U);
    pos = 99;
    EXPECT_EQ(set.findConstraint(list, 0, 7, pos), -1);
    EXPECT_EQ(pos, 0U);
}

TEST_F(WorkingSetLists, AnAssignedSetSharesItsListsAndOutlivesItsSource) {
    setSizes(0, 0, 3, 0, 0, 3);
    ActiveSet other;
    {
        ActiveSet set;
        set.setWsetIndices(nullptr, nullptr, column({1, 2, 3}), nullptr, nullptr);
        other = set;
        set.replaceElementByLast(set.getWineq(), 3, 0);
        set.addToBottom(set.getWineq(), 2, 8);
    }
    EXPECT_EQ(firstOf(other.getWineq(), 3), (Indices{2, 1, 8}));
}

TEST_F(WorkingSetLists, ListingsHaveTheirGoldenText) {
    ActiveSet::setmaFixed(0);
    ActiveSet::setmaEq(1);
    ActiveSet::setmaIneq(2);
    ActiveSet::setmaLB(3);
    ActiveSet::setmaUB(4);
    ActiveSet set;
    const size_t list[] = {3, 0, 12};
    const CapturedOutput output;
    ActiveSet::printActiveSetInfo();
    set.printWindex(list, 3);
    set.printWindex(list, 0);
    EXPECT_EQ(output.text(), golden("listing_working_set.txt"));
}

}  // namespace
}  // namespace activeset::test
