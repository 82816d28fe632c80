/// Real crashes, for the component that has to be survived. None of these returns in an ordinary
/// way: each raises the structured exception that its name says.
#pragma once

namespace Simulator {

void CrashByReading();
void CrashByDividing();
void CrashByIllegalInstruction();
void CrashByStackOverflow();

/// Crashes beside a destructor that expects no exception. The other crashes can be unwound as an
/// exception; this one cannot leave the function.
void CrashUnderNoexcept() noexcept;

}  // namespace Simulator
