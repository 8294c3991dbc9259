// The lists of the working set: read from the host, returned to it, printed.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class WorkingSetLists : public FreshState {
protected:
    static void setSizes(size_t fixed, size_t eq, size_t ineq, size_t bounds, size_t variables) {
        OPTsizes::setmFixed(fixed);
        OPTsizes::setmEq(eq);
        OPTsizes::setmIneq(ineq);
        OPTsizes::setmLB(bounds);
        OPTsizes::setmUB(bounds);
        OPTsizes::setnVar(variables);
    }
};

TEST_F(WorkingSetLists, NumbersRunByKindAndTheLowerBlockIsAsWideAsThereAreVariables) {
    setSizes(2, 1, 3, 1, 4);
    ActiveSet set;
    ASSERT_EQ(
        set.setWsetIndices(column({2}), column({1}), column({3, 1}), column({4}), column({2})), 1);
    EXPECT_EQ(firstOf(set.getWset(), ActiveSet::getmaConstr()), (Indices{1, 2, 5, 3, 9, 11}));
    EXPECT_EQ(firstOf(set.getWineq(), ActiveSet::getmaIneq()), (Indices{2, 0}));
    EXPECT_EQ(firstOf(set.getWlower(), ActiveSet::getmaLB()), (Indices{3}));
    EXPECT_EQ(firstOf(set.getWupper(), ActiveSet::getmaUB()), (Indices{1}));
}

TEST_F(WorkingSetLists, EntriesAreTruncatedTowardZeroAndWrapBelowOne) {
    setSizes(0, 1, 4, 0, 4);
    ActiveSet set;
    set.setWsetIndices(nullptr, nullptr, column({2.9, 0.5, 0.0, -1.5}), nullptr, nullptr);
    EXPECT_EQ(firstOf(set.getWineq(), 4), (Indices{1, 0, NoIndex, NoIndex - 1}));
    EXPECT_EQ(firstOf(set.getWset(), 4), (Indices{2, 1, 0, NoIndex}));
}

TEST_F(WorkingSetLists, AListMayBeAsLongAsItsKindAndTheKindsAreTestedInOrder) {
    setSizes(0, 0, 1, 1, 3);
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
