/// A library that has nothing to do with the program.
#include "tagwright_foreign_component_export.h"

extern "C" TAGWRIGHT_FOREIGN_COMPONENT_EXPORT int AnswerOfAnotherLibrary() { return 42; }
