// A managed component that hands every call on to the simulated printer's native one, with its results,
// exceptions and crashes: what holds of jobs with that one has to hold with managed code in between.
using System;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text;

[assembly: AssemblyVersion("1.0.0.0")]

namespace BrennickUtilities
{
    public class OEventLogM
    {
        readonly Tagwright.Managed.ZebraSDK sdk;

        public OEventLogM(Tagwright.Managed.ZebraSDK sdk) { this.sdk = sdk; }
        public void LogErrorEvent(string text) { sdk.LogErrorEvent(text); }
    }
}

namespace Tagwright.Managed
{
    public class RelayedException : Exception
    {
        readonly string fullText;

        public RelayedException(string message, string fullText) : base(message) { this.fullText = fullText; }
        public override string ToString() => fullText;
    }

    /// Members by their places in the native table.
    enum Place
    {
        CreateObject = 1, DisposeObject, TestManagedCodeAccessible, InitLogging, LogErrorEvent, Connect,
        Disconnect, WriteEPC, WriteMemory, WriteUserMemory, SetAccessPassword, LockTag, PermalockUserBlock,
        UnlockTag, SetKillPassword, KillTag
    }

    // A text by value takes the two registers of its pointer and its length.
    delegate IntPtr OfNothing(byte[] result);
    delegate void OfObject(IntPtr sdk, byte[] result);
    delegate void OfText(IntPtr sdk, [MarshalAs(UnmanagedType.LPWStr)] string text, IntPtr length, byte[] result);
    delegate void OfTextAndNumber(IntPtr sdk, [MarshalAs(UnmanagedType.LPWStr)] string text, IntPtr length,
                                  int number, byte[] result);
    delegate void OfTextAndBlocks(IntPtr sdk, [MarshalAs(UnmanagedType.LPWStr)] string text, IntPtr length,
                                  uint start, int count, byte[] result);
    delegate void OfConnect(IntPtr sdk, int portType, [MarshalAs(UnmanagedType.LPWStr)] string address,
                            IntPtr length, uint perCard, byte[] result);
    delegate void OfMemory(IntPtr sdk, int bank, int offset, [MarshalAs(UnmanagedType.LPWStr)] string text,
                           IntPtr length, byte[] result);
    delegate void OfUserMemory(IntPtr sdk, int offset, [MarshalAs(UnmanagedType.LPWStr)] string text,
                               IntPtr length, byte[] result);

    public class ZebraSDK : IDisposable
    {
        const int MessageAt = 8, FullTextAt = MessageAt + 512 * 2, ResultSize = FullTextAt + 2048 * 2;

        public BrennickUtilities.OEventLogM ZSDKEventLogM;

        IntPtr sdk;

        [DllImport("Tagwright.Simulated.dll")] static extern IntPtr TagwrightManagedGetInterface(uint version);

        static readonly IntPtr table = TagwrightManagedGetInterface(1);

        static D Native<D>(Place member) =>
            Marshal.GetDelegateForFunctionPointer<D>(Marshal.ReadIntPtr(table, (int)member * IntPtr.Size));

        /// What the native member ended with: an exception, or its result.
        static bool Relayed(Action<byte[]> call)
        {
            var result = new byte[ResultSize];
            call(result);
            if (BitConverter.ToUInt32(result, 0) == 0) return BitConverter.ToUInt32(result, 4) != 0;
            throw new RelayedException(Text(result, MessageAt, FullTextAt), Text(result, FullTextAt, ResultSize));
        }
        static string Text(byte[] result, int from, int to)
        {
            string all = Encoding.Unicode.GetString(result, from, to - from);
            return all.Substring(0, all.IndexOf('\0'));
        }
        bool WithText(Place member, string text) =>
            Relayed(result => Native<OfText>(member)(sdk, text, (IntPtr)text.Length, result));
        bool WithTextAndNumber(Place member, string text, int number) =>
            Relayed(result => Native<OfTextAndNumber>(member)(sdk, text, (IntPtr)text.Length, number, result));

        public ZebraSDK() { Relayed(result => sdk = Native<OfNothing>(Place.CreateObject)(result)); }
        public void Dispose() { Relayed(result => Native<OfObject>(Place.DisposeObject)(sdk, result)); }
        public static void TestManagedCodeAccessible()
        {
            Relayed(result => Native<OfNothing>(Place.TestManagedCodeAccessible)(result));
        }
        public void InitLogging()
        {
            Relayed(result => Native<OfObject>(Place.InitLogging)(sdk, result));
            ZSDKEventLogM = new BrennickUtilities.OEventLogM(this);
        }
        internal void LogErrorEvent(string text) { WithText(Place.LogErrorEvent, text); }
        public bool Connect(int portType, string address, bool perCard) =>
            Relayed(result => Native<OfConnect>(Place.Connect)(
                sdk, portType, address, (IntPtr)address.Length, perCard ? 1u : 0u, result));
        public bool Disconnect() => Relayed(result => Native<OfObject>(Place.Disconnect)(sdk, result));
        public bool WriteEPC(string data) => WithText(Place.WriteEPC, data);
        public bool WriteMemory(int bank, int offset, string data) =>
            Relayed(result => Native<OfMemory>(Place.WriteMemory)(
                sdk, bank, offset, data, (IntPtr)data.Length, result));
        public bool WriteUserMemory(int offset, string data) =>
            Relayed(result => Native<OfUserMemory>(Place.WriteUserMemory)(
                sdk, offset, data, (IntPtr)data.Length, result));
        public bool SetAccessPassword(string password) => WithText(Place.SetAccessPassword, password);
        public bool SetKillPassword(string password) => WithText(Place.SetKillPassword, password);
        public bool LockTag(string password, int action) =>
            WithTextAndNumber(Place.LockTag, password, action);
        public bool UnlockTag(string password, int action) =>
            WithTextAndNumber(Place.UnlockTag, password, action);
        public bool PermalockUserBlock(string password, uint start, int count) =>
            Relayed(result => Native<OfTextAndBlocks>(Place.PermalockUserBlock)(
                sdk, password, (IntPtr)password.Length, start, count, result));
        public bool KillTag(string password) => WithText(Place.KillTag, password);
    }
}
