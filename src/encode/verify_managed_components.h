/// The check that precedes every connection: the SDK files lie beside the program and the printer
/// component answers.
#pragma once

/// False, with an error line that says why, when a required file is missing or the component's test
/// entry raised anything. Call it with the process-wide encode mutex held.
bool VerifyManagedComponents();

/// Writes the error line for the exception that the component's test entry raised last; its code is
/// process-wide and guarded by the encode mutex.
void RecordSehException();
