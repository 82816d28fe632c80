// A managed component that does nothing: what is measured with it is the way there and back.
using System;
using System.Reflection;

[assembly: AssemblyVersion("1.0.0.0")]

namespace BrennickUtilities
{
    public class OEventLogM
    {
        public void LogErrorEvent(string text) { }
    }
}

namespace Tagwright.Managed
{
    public class ZebraSDK : IDisposable
    {
        public BrennickUtilities.OEventLogM ZSDKEventLogM;

        public static void TestManagedCodeAccessible() { }
        public void InitLogging() { ZSDKEventLogM = new BrennickUtilities.OEventLogM(); }
        public bool Connect(int portType, string printerAddress, bool connectPerCard) { return true; }
        public bool Disconnect() { return true; }
        public bool WriteEPC(string data) { return true; }
        public bool WriteMemory(int bank, int offset, string data) { return true; }
        public bool WriteUserMemory(int offset, string data) { return true; }
        public bool SetAccessPassword(string password) { return true; }
        public bool SetKillPassword(string password) { return true; }
        public bool LockTag(string accessPassword, int lockAction) { return true; }
        public bool UnlockTag(string accessPassword, int unlockAction) { return true; }
        public bool PermalockUserBlock(string accessPassword, uint start, int count) { return true; }
        public bool KillTag(string killPassword) { return true; }
        public void Dispose() { }
    }
}
