// A printer component in C#: the class that Tagwright calls through its managed host. Its tags are
// files of text in the folder that TAGWRIGHT_ROOT names, one for each printer address; a component with
// a printer talks to it where this one talks to a tag. Build it with
//   mcs -target:library -out:Tagwright.Managed.dll ZebraSDK.cs
// and put it into the folder "managed" beside the program.
using System;
using System.IO;
using System.Reflection;

[assembly: AssemblyVersion("1.0.0.0")]

namespace BrennickUtilities
{
    /// The component's log.
    public class OEventLogM
    {
        readonly string path = Path.Combine(Tagwright.Managed.Tag.Folder, "component.log");

        public void LogErrorEvent(string text)
        {
            File.AppendAllText(path, DateTime.Now.ToString("s") + " " + text + "\n");
        }
    }
}

namespace Tagwright.Managed
{
    /// A tag with its four banks as hexadecimal digits, four for each word.
    class Tag
    {
        const int Digits = 128, DigitsPerWord = 4;

        readonly string path;
        readonly string[] banks;

        public static string Folder
        {
            get
            {
                string root = Environment.GetEnvironmentVariable("TAGWRIGHT_ROOT") ?? Path.GetTempPath();
                return Directory.CreateDirectory(Path.Combine(root, "managed")).FullName;
            }
        }

        public Tag(string address)
        {
            if (address.Length == 0 || !Array.TrueForAll(address.ToCharArray(), char.IsLetterOrDigit))
                throw new ArgumentException("no address of a printer: \"" + address + "\"");
            path = Path.Combine(Folder, address + ".tag");
            var blank = new string('0', Digits);
            banks = File.Exists(path) ? File.ReadAllLines(path) : new[] { blank, blank, blank, blank };
        }

        public bool Write(int bank, int word, string data)
        {
            bool isHex = Array.TrueForAll(data.ToCharArray(), c => "0123456789ABCDEFabcdef".IndexOf(c) >= 0);
            int start = word * DigitsPerWord;
            if (!isHex || data.Length % DigitsPerWord != 0) return false;
            if (bank < 0 || bank >= banks.Length || word < 0 || start + data.Length > Digits) return false;
            banks[bank] = banks[bank].Remove(start, data.Length).Insert(start, data);
            File.WriteAllLines(path, banks);
            return true;
        }

        public bool HasPassword(string password)
        {
            return banks[0].Substring(2 * DigitsPerWord, password.Length) == password;
        }
    }

    public class ZebraSDK : IDisposable
    {
        const int Reserved = 0, Epc = 1, User = 3;

        public BrennickUtilities.OEventLogM ZSDKEventLogM;
        Tag tag;

        /// Raises an exception when something that the component needs cannot be loaded.
        public static void TestManagedCodeAccessible() { }

        public void InitLogging() { ZSDKEventLogM = new BrennickUtilities.OEventLogM(); }

        public bool Connect(int portType, string printerAddress, bool connectPerCard)
        {
            tag = new Tag(printerAddress);
            return true;
        }

        public bool Disconnect()
        {
            tag = null;
            return true;
        }

        // Behind the CRC and the PC word. Without a Connect before, each of these raises a null reference.
        public bool WriteEPC(string data) { return tag.Write(Epc, 2, data); }
        public bool WriteMemory(int bank, int offset, string data) { return tag.Write(bank, offset, data); }
        public bool WriteUserMemory(int offset, string data) { return tag.Write(User, offset, data); }

        public bool SetKillPassword(string password)
        {
            return password.Length == 8 && tag.Write(Reserved, 0, password);
        }
        public bool SetAccessPassword(string password)
        {
            return password.Length == 8 && tag.Write(Reserved, 2, password);
        }

        public bool LockTag(string accessPassword, int lockAction)
        {
            return tag.HasPassword(accessPassword) && lockAction != 0;
        }
        public bool UnlockTag(string accessPassword, int unlockAction)
        {
            return tag.HasPassword(accessPassword) && unlockAction != 0;
        }
        public bool PermalockUserBlock(string accessPassword, uint startAddress, int blockCount)
        {
            return tag.HasPassword(accessPassword) && blockCount > 0;
        }
        public bool KillTag(string killPassword) { return killPassword != "00000000"; }

        /// Called once, at the end of each job.
        public void Dispose() { tag = null; }
    }
}
