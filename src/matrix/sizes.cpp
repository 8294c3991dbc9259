// OPTsizes on top of the thread's state.
#include "activeset/sizes.hpp"

#include "host/console_text.hpp"
#include "thread_state.hpp"

using activeset::threadState;

void OPTsizes::setmConstr(size_t count) {
    threadState().sizes.mConstr = count;
}
size_t OPTsizes::getmConstr() {
    return threadState().sizes.mConstr;
}
void OPTsizes::setmIneq(size_t count) {
    threadState().sizes.mIneq = count;
}
size_t OPTsizes::getmIneq() {
    return threadState().sizes.mIneq;
}
void OPTsizes::setmEq(size_t count) {
    threadState().sizes.mEq = count;
}
size_t OPTsizes::getmEq() {
    return threadState().sizes.mEq;
}
void OPTsizes::setnEq(size_t count) {
    threadState().sizes.nEq = count;
}
size_t OPTsizes::getnEq() {
    return threadState().sizes.nEq;
}
void OPTsizes::setmFixed(size_t count) {
    threadState().sizes.mFixed = count;
}
size_t OPTsizes::getmFixed() {
    return threadState().sizes.mFixed;
}
void OPTsizes::setmLB(size_t count) {
    threadState().sizes.mLB = count;
}
size_t OPTsizes::getmLB() {
    return threadState().sizes.mLB;
}
void OPTsizes::setmUB(size_t count) {
    threadState().sizes.mUB = count;
}
size_t OPTsizes::getmUB() {
    return threadState().sizes.mUB;
}
void OPTsizes::setnVar(size_t count) {
    threadState().sizes.nVar = count;
}
size_t OPTsizes::getnVar() {
    return threadState().sizes.nVar;
}

void OPTsizes::printConstrInfo() {
    const activeset::SizeCounts& sizes = threadState().sizes;
    activeset::printValues("Total constraints: ", sizes.mConstr, '\n',  //
                           "# equalities: ", sizes.mEq, '\n',           //
                           "# inequalities: ", sizes.mIneq, '\n',       //
                           "# lower bounds: ", sizes.mLB, '\n',         //
                           "# upper bounds: ", sizes.mUB, '\n',         //
                           "# Fixed variables: ", sizes.mFixed, '\n',   //
                           "Number of variables: ", sizes.nVar, '\n');
}
