// The managed side of the host: finds the class ZebraSDK, calls its members, and describes every
// exception here, inside managed code, where the runtime gives its type, message and stack trace.
using System;
using System.IO;
using System.Reflection;
using System.Runtime.CompilerServices;
using System.Runtime.InteropServices;

[assembly: AssemblyTitle("Managed side of Tagwright's managed host")]
[assembly: AssemblyVersion("1.0.0.0")]

namespace Tagwright.Host
{
    /// The members in the order of the native table.
    enum Member
    {
        Create, Dispose, TestManagedCodeAccessible, InitLogging, LogErrorEvent, Connect, Disconnect,
        WriteEPC, WriteMemory, WriteUserMemory, SetAccessPassword, LockTag, PermalockUserBlock,
        UnlockTag, SetKillPassword, KillTag,
        /// Nothing: the first call of a thread makes it one of the runtime's.
        Attach
    }

    /// TagwrightCallResult.
    [StructLayout(LayoutKind.Sequential)]
    unsafe struct Result
    {
        public const int MessageSize = 512, FullTextSize = 2048;
        public uint Outcome;
        public uint Returned;
        public fixed char Message[MessageSize];
        public fixed char FullText[FullTextSize];
    }

    /// ManagedCall of the native side.
    [StructLayout(LayoutKind.Sequential)]
    unsafe struct Call
    {
        public Member Member;
        public int First, Second;
        public int TextLength;
        public char* Text;
        public IntPtr Object;
        public Result Result;
    }

    static unsafe class Seam
    {
        const uint ManagedException = 1, UnknownException = 4;

        delegate void RunDelegate(Call* call);

        static readonly RunDelegate run = Run;  // As long as the native side may call it.
        static ZebraSdkClass sdkClass;

        /// Called once by the native side; the address of Run.
        static IntPtr Start(string folder)
        {
            sdkClass = new ZebraSdkClass(Path.Combine(folder, "Tagwright.Managed.dll"));
            return Marshal.GetFunctionPointerForDelegate(run);
        }

        static void Run(Call* call)
        {
            try
            {
                call->Result.Returned = Forward(call) ? 1u : 0u;
            }
            catch (RuntimeWrappedException other)
            {
                call->Result.Outcome = UnknownException;
                CopyCut(Describe(() => other.WrappedException.ToString()), call->Result.Message,
                        Result.MessageSize);
            }
            catch (Exception exception)
            {
                call->Result.Outcome = ManagedException;
                CopyCut(Describe(() => exception.Message), call->Result.Message, Result.MessageSize);
                CopyCut(Describe(() => exception.ToString()), call->Result.FullText, Result.FullTextSize);
            }
        }

        static bool Forward(Call* call)
        {
            switch (call->Member)
            {
                case Member.Attach:
                    return true;
                case Member.Create:
                    call->Object = GCHandle.ToIntPtr(GCHandle.Alloc(sdkClass.Create()));
                    return true;
                case Member.TestManagedCodeAccessible:
                    sdkClass.Test();
                    return true;
                case Member.Dispose:
                    return Dispose(GCHandle.FromIntPtr(call->Object));
                default:
                    object sdk = GCHandle.FromIntPtr(call->Object).Target;
                    return sdkClass.Call(sdk, call->Member, call->First, call->Second,
                                         new string(call->Text, 0, call->TextLength));
            }
        }

        static bool Dispose(GCHandle handle)
        {
            var disposable = handle.Target as IDisposable;
            handle.Free();
            if (disposable != null) disposable.Dispose();
            return true;
        }

        /// The texts of an exception are code of its class, which may raise another one.
        static string Describe(Func<string> text)
        {
            try { return text() ?? ""; }
            catch (Exception second) { return "(no text: " + second.GetType().FullName + ")"; }
        }

        static void CopyCut(string text, char* target, int size)
        {
            int length = Math.Min(text.Length, size - 1);
            for (int i = 0; i < length; ++i) target[i] = text[i];
            target[length] = '\0';
        }
    }
}
