/// The guard of threads and of component calls: a crash leaves it as an exception, whatever is in
/// between.
#pragma once

#include <memory>
#include <type_traits>

/// Calls `call(argument)` on a thread with an exception handler scope. A crash in it is thrown as
/// the scope's OException, and the stack is fit for the next one. Guards of one thread may nest.
///
/// The exception unwinds from where the crash happened, and may be caught on its way. Where it
/// finds no way out (below a noexcept function or a destructor, or when another crash happens while
/// it unwinds), the frames that are left are abandoned: their destructors do not run, and it is
/// thrown from the guard instead, with the pointers of the last crash.
void GuardCrashes(void (*call)(void*), void* argument);

template <class Call>
void GuardCrashes(Call&& call) {
  using Target = std::remove_reference_t<Call>;
  GuardCrashes([](void* target) { (*static_cast<Target*>(target))(); },
               const_cast<std::remove_const_t<Target>*>(std::addressof(call)));
}
