/* Ctrl-C during a solve. R's own handler sets a flag, which is read only after the solve. So during a
 * solve another handler ends the solve and then calls R's. */
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
        /* R's handler may have installed itself again. */
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
