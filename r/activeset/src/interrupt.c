/* Ctrl-C during a solve. R's own handler only makes a note, which nobody reads before the solve has
 * ended. So a handler in front of it ends the solve, too, and hands the signal on. */
#include <R.h>
#include <signal.h>
#include <string.h>

#include "shared.h"

static struct sigaction before;
static volatile sig_atomic_t was_interrupted = 0;

static void on_interrupt(int number) {
    was_interrupted = 1;
    activeset_interrupt_all(1);
    if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN &&
        (before.sa_flags & SA_SIGINFO) == 0) {
        before.sa_handler(number);
        /* That one may have put itself in our place. */
        signal(SIGINT, on_interrupt);
    }
}

void begin_interruptible(void) {
    struct sigaction ours;
    memset(&ours, 0, sizeof ours);
    ours.sa_handler = on_interrupt;
    ours.sa_flags = SA_RESTART;
    sigemptyset(&ours.sa_mask);
    was_interrupted = 0;
    sigaction(SIGINT, &ours, &before);
}

void end_interruptible(void) {
    sigaction(SIGINT, &before, NULL);
    if (was_interrupted) {
        activeset_interrupt_all(0);
    }
}

void deliver_interrupt(void) {
    if (was_interrupted) {
        was_interrupted = 0;
        R_CheckUserInterrupt();
    }
}
