/// Real crashes, for the component that has to be survived.
#pragma once

namespace Simulator {

void CrashByReading();
void CrashByDividing();
void CrashByIllegalInstruction();
void CrashByUsingUpTheStack();

}  // namespace Simulator
