/// Job documents through the executor, with the simulated printer as its component, and through the
/// reader that tells people what a job will do.
#include "client/check/job_check.h"
#include "encode/zxp7_epc_gen2_encode.h"
#include "fuzz/fuzz_target.h"

void Fuzz::JobDocument(Bytes bytes) {
  Tagwright::CheckJob(bytes);
  ZXP7EpcGen2Encode executor(bytes.data(), static_cast<DWORD>(bytes.size()));
  const bool succeeded = executor.ParseAndExecuteXML();
  Require(!succeeded || bytes.empty() || bytes.size() >= sizeof "<zsdk_job/>" - 1,
          "a document without the root fails");
}
