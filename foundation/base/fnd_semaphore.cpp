#include "foundation/base/fnd_semaphore.h"

Fnd_Semaphore::Fnd_Semaphore(int, int, int) {}

// Without threads nobody else can hold the semaphore: the wait succeeds at once.
int Fnd_Semaphore::Wait_With_Timeout(int) { return 0; }

Fnd_Recursive_Semaphore::Fnd_Recursive_Semaphore(int) {}

int Fnd_Recursive_Semaphore::Wait_With_Timeout(int) { return 0; }

namespace {

// Double-checked making of a static semaphore on first use.
template <class Semaphore, class... Args>
Semaphore* Make_Once(Semaphore*& Slot, Args... Arguments) {
    if (Slot == nullptr) {
        Fnd_Semaphore::Static_Initialization_Lock();
        if (Slot == nullptr) Slot = new Semaphore(Arguments...);
        Fnd_Semaphore::Static_Initialization_Unlock();
    }
    return Slot;
}

}  // namespace

Fnd_Semaphore_Guard::Fnd_Semaphore_Guard(Fnd_Semaphore*& Slot, int Initial, int Maximum,
                                         int Options)
    : Slot(&Slot) {
    Make_Once(Slot, Initial, Maximum, Options)->Wait();
}

Fnd_Semaphore_Guard::~Fnd_Semaphore_Guard() { (*Slot)->Signal(); }

Fnd_Recursive_Semaphore_Guard::Fnd_Recursive_Semaphore_Guard(Fnd_Recursive_Semaphore*& Slot,
                                                             int Options)
    : Slot(&Slot) {
    Make_Once(Slot, Options)->Wait();
}

Fnd_Recursive_Semaphore_Guard::~Fnd_Recursive_Semaphore_Guard() { (*Slot)->Signal(); }
