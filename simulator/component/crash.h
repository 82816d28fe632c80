/// Real crashes, for the component that has to be survived.
#pragma once

namespace Simulator {

void CrashByReading();
void CrashByDividing();
void CrashByIllegalInstruction();
void CrashByUsingUpTheStack();

/// The others' crashes unwind; this one's exception finds no way out.
void CrashUnderNoexcept() noexcept;

}  // namespace Simulator
