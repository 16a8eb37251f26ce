#include "crash_stack.h"

#ifdef VELMAR_UNWIND

#define UNW_LOCAL_ONLY
#include <libunwind.h>

void walkStack(void* context, CrashStack* stack) {
    unw_context_t own;
    unw_cursor_t cursor;
    stack->count = 0;
    if (context) {
        if (unw_init_local2(&cursor, static_cast<unw_context_t*>(context), UNW_INIT_SIGNAL_FRAME) !=
            0) {
            return;
        }
    } else {
        unw_getcontext(&own);
        if (unw_init_local(&cursor, &own) != 0) {
            return;
        }
    }
    do {
        unw_word_t address = 0;
        const int place = stack->count;
        // Null ends the stack, but for a crash by a call of a null pointer.
        if (unw_get_reg(&cursor, UNW_REG_IP, &address) != 0 || (address == 0 && place > 0)) {
            return;
        }
        stack->frames[place] = static_cast<std::uintptr_t>(address);
        stack->count = place + 1;
    } while (stack->count < CrashStack::kMostFrames && unw_step(&cursor) > 0);
}

#else

void walkStack(void*, CrashStack* stack) {
    stack->count = 0;
}

#endif
