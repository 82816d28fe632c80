/// Crashes in the component: they end a call, not the process.
#pragma once

#include <memory>
#include <type_traits>

namespace Tagwright {

/// Calls `call(argument)`, on any thread; calls of one thread do not nest. A crash in it is thrown
/// as the OException of the thread's structured exceptions, and the stack is fit for the next one.
///
/// The exception runs the destructors of the component's code as far as that was built for it.
/// Where it finds no way out, and at a second crash in the same call, the rest of the component's
/// frames is left as it is, destructors and all. The pointers are those of the last crash.
void GuardComponentCall(void (*call)(void*), void* argument);

template <class Call>
void GuardComponentCall(Call&& call) {
  using Target = std::remove_reference_t<Call>;
  GuardComponentCall([](void* target) { (*static_cast<Target*>(target))(); },
                     const_cast<std::remove_const_t<Target>*>(std::addressof(call)));
}

}  // namespace Tagwright
