#include "managed/host/runtime.h"

#include <dlfcn.h>
#include <mono/jit/jit.h>
#include <mono/metadata/assembly.h>
#include <mono/metadata/exception.h>
#include <mono/metadata/mono-config.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "managed/host/semaphore.h"
#include "managed/host/signal_handlers.h"
#include "managed/host/signal_stack.h"
#include "platform/posix/kernel/kernel_scope.h"

namespace Managed {
namespace {

/// The folder of the assemblies, beside the library that this code is in.
std::string AssemblyFolder() {
  Dl_info info{};
  dladdr(reinterpret_cast<const void*>(&StartedRuntime), &info);
  return std::filesystem::absolute(info.dli_fname).parent_path() / "managed";
}

/// The libraries that the runtime loads for itself look for its functions among those of the whole
/// program; as a library of this component's they would be out of sight.
void ShowRuntimeToItsLibraries() {
  Dl_info info{};
  dladdr(reinterpret_cast<const void*>(&mono_jit_init_version), &info);
  dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error("The managed runtime cannot be used: " + what);
}

std::string TextOf(MonoObject* exception) {
  MonoObject* second = nullptr;
  MonoString* const text = mono_object_to_string(exception, &second);
  if (text == nullptr || second != nullptr) return "an exception without a text";
  char* const utf8 = mono_string_to_utf8(text);
  std::string result(utf8);
  mono_free(utf8);
  return result;
}

/// Calls Tagwright.Host.Seam.Start(folder).
RunManaged CallStart(MonoDomain* domain, MonoAssembly* assembly, const std::string& folder) {
  MonoClass* const seam =
      mono_class_from_name(mono_assembly_get_image(assembly), "Tagwright.Host", "Seam");
  MonoMethod* const start =
      seam == nullptr ? nullptr : mono_class_get_method_from_name(seam, "Start", 1);
  if (start == nullptr) Fail("its assembly has another version");
  void* arguments[] = {mono_string_new(domain, folder.c_str())};
  MonoObject* exception = nullptr;
  MonoObject* const address = mono_runtime_invoke(start, nullptr, arguments, &exception);
  if (exception != nullptr) Fail(TextOf(exception));
  return reinterpret_cast<RunManaged>(*static_cast<void**>(mono_object_unbox(address)));
}

/// Of a thread that the component has started itself. The runtime has printed it, and would end the
/// process without a report.
void OnUnhandledException(MonoObject*, void*) { std::abort(); }

RunManaged Start() {
  const SignalHandlers handlers;
  ShowRuntimeToItsLibraries();
  GiveThreadsRoomForHandlers();
  mono_set_signal_chaining(1);
  mono_config_parse(nullptr);
  MonoDomain* const domain = mono_jit_init_version("Tagwright", "v4.0.30319");
  if (domain == nullptr) Fail("it does not start");
  mono_install_unhandled_exception_hook(OnUnhandledException, nullptr);
  handlers.Share();
  const std::string folder = AssemblyFolder(), file = folder + "/Tagwright.Host.dll";
  MonoAssembly* const assembly = mono_domain_assembly_open(domain, file.c_str());
  if (assembly == nullptr) Fail("there is no " + file);
  return CallStart(domain, assembly, folder);
}

struct Runtime {
  RunManaged run = nullptr;
  std::string problem;
};

/// The thread that starts the runtime is its main thread. It stays, asleep, because the thread of
/// the job that needs the runtime first ends with its pipe.
Runtime StartOnThreadThatStays() {
  auto* const runtime = new Runtime;  // The thread has it, too.
  static Semaphore started, never;
  const auto startAndStay = [runtime] {
    try {
      runtime->run = Start();
    } catch (const std::exception& exception) {
      runtime->problem = exception.what();
    }
    started.Release();
    never.Acquire();
  };
  {
    const platform::KernelScope keepsTheThreadsStartWhole;
    std::thread(startAndStay).detach();
  }
  started.Acquire();
  return *runtime;
}

}  // namespace

RunManaged StartedRuntime() {
  static const Runtime runtime = StartOnThreadThatStays();
  if (runtime.run == nullptr) throw std::runtime_error(runtime.problem);
  return runtime.run;
}

}  // namespace Managed
