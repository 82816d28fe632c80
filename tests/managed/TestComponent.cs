// A managed component that does what the data of WriteEPC name and raises an exception in the member
// that the file "throw" names. It writes down every call, and what its logger gets, in the file "calls".
// Both lie in the folder that TAGWRIGHT_ROOT names.
using System;
using System.IO;
using System.Reflection;
using System.Reflection.Emit;
using System.Runtime.InteropServices;
using System.Threading;

[assembly: AssemblyVersion("1.0.0.0")]

namespace BrennickUtilities
{
    public class OEventLogM
    {
        public void LogErrorEvent(string text) { Tagwright.Managed.ZebraSDK.Note("log", text); }
    }
}

namespace Tagwright.Managed
{
    public class TestException : Exception
    {
        public TestException(string member) : base("thrown by " + member) { }
    }

    public class ZebraSDK : IDisposable
    {
        public BrennickUtilities.OEventLogM ZSDKEventLogM;

        string atEnd = "";

        static volatile string nothing = null;
        static volatile int zero = 0;
        static volatile int depth;

        [DllImport("libc")] static extern int strlen(IntPtr text);
        [DllImport("libc")] static extern void abort();

        static string In(string file) =>
            Path.Combine(Environment.GetEnvironmentVariable("TAGWRIGHT_ROOT"), file);

        public static void Note(string member, params object[] arguments)
        {
            // One object's Dispose may overlap with another's calls.
            lock (typeof(TestException))
                File.AppendAllText(In("calls"), member + "(" + string.Join(", ", arguments) + ")\n");
            if (File.Exists(In("throw")) && File.ReadAllText(In("throw")) == member)
                throw new TestException(member);
        }
        static bool Noted(string member, params object[] arguments)
        {
            Note(member, arguments);
            return true;
        }

        public ZebraSDK() { Note("ZebraSDK"); }
        public void Dispose() { Note("Dispose"); }
        public static void TestManagedCodeAccessible() { Note("TestManagedCodeAccessible"); }
        public void InitLogging()
        {
            Note("InitLogging");
            ZSDKEventLogM = new BrennickUtilities.OEventLogM();
        }
        public bool Connect(int portType, string printerAddress, bool connectPerCard)
        {
            atEnd = portType == 9 ? "crash" : "";
            return Noted("Connect", portType, printerAddress, connectPerCard) && Do(printerAddress);
        }
        public bool Disconnect() => Noted("Disconnect") && Do(atEnd);
        public bool WriteEPC(string data)
        {
            Note("WriteEPC", data);
            return Do(data);
        }
        public bool WriteMemory(int bank, int offset, string data) =>
            Noted("WriteMemory", bank, offset, data);
        public bool WriteUserMemory(int offset, string data) => Noted("WriteUserMemory", offset, data);
        public bool SetAccessPassword(string password) => Noted("SetAccessPassword", password);
        public bool SetKillPassword(string password) => Noted("SetKillPassword", password);
        public bool LockTag(string password, int action) => Noted("LockTag", password, action);
        public bool UnlockTag(string password, int action) => Noted("UnlockTag", password, action);
        public bool PermalockUserBlock(string password, uint start, int count) =>
            Noted("PermalockUserBlock", password, start, count);
        public bool KillTag(string password) => Noted("KillTag", password) && password != "refuse";

        static bool Do(string action)
        {
            switch (action)
            {
                case "null": return nothing.Length > 0;
                case "null caught": return CatchesNull();
                case "divide": return 1 / zero > 0;
                case "divide caught":
                    try { return 1 / zero > 0; } catch (DivideByZeroException) { return true; }
                case "throw a string": return ThrowsAString();
                case "overflow": return Deeper(0) > 0;
                case "crash": return strlen((IntPtr)8) > 0;
                case "abort":
                    abort();
                    return true;
                case "throw in a thread":
                    new Thread(() => { throw new TestException("a thread"); }).Start();
                    Thread.Sleep(Timeout.Infinite);
                    return true;
                case "crash in a thread":
                    new Thread(() => strlen((IntPtr)8)).Start();
                    Thread.Sleep(Timeout.Infinite);
                    return true;
                case "sleep":
                    Thread.Sleep(Timeout.Infinite);
                    return true;
                case "spin":
                    while (zero == 0) { }
                    return true;
                case "collect": return Collect();
                default: return true;
            }
        }

        /// In the member's own code, and in the code that the runtime puts between caller and callee.
        static bool CatchesNull()
        {
            Func<bool> function = null;
            IDisposable disposable = null;
            foreach (Action use in new Action[] {
                () => nothing.ToUpper(), () => function(), () => disposable.Dispose() })
            {
                try { use(); } catch (NullReferenceException) { continue; }
                return false;
            }
            return true;
        }

        /// Which the language cannot.
        static bool ThrowsAString()
        {
            var method = new DynamicMethod("Throw", typeof(bool), new Type[0]);
            ILGenerator code = method.GetILGenerator();
            code.Emit(OpCodes.Ldstr, "no exception");
            code.Emit(OpCodes.Throw);
            return ((Func<bool>)method.CreateDelegate(typeof(Func<bool>)))();
        }

        static int Deeper(int level) { depth = level; return Deeper(level + 1) + depth; }

        /// Garbage of several threads, and collections that stop them all.
        static bool Collect()
        {
            var threads = new Thread[3];
            for (int i = 0; i < threads.Length; ++i)
            {
                threads[i] = new Thread(() => { for (int n = 0; n < 20000; ++n) nothing = new string('x', 100); });
                threads[i].Start();
            }
            for (int i = 0; i < 5; ++i) GC.Collect();
            foreach (var thread in threads) thread.Join();
            nothing = null;
            GC.WaitForPendingFinalizers();
            return true;
        }
    }
}
