using System;
using System.IO;
using System.Reflection;

namespace Tagwright.Host
{
    using TextCall = Func<string, bool>;
    using TextNumberCall = Func<string, int, bool>;

    /// The class Tagwright.Managed.ZebraSDK, whatever assembly brings it.
    class ZebraSdkClass
    {
        readonly string path;
        Type type;

        public ZebraSdkClass(string path) { this.path = path; }

        public object Create() { return Activator.CreateInstance(Load()); }

        /// The static member, after a look whether all the others are there.
        public void Test()
        {
            Expect(typeof(Func<bool>), "Disconnect");
            Expect(typeof(Action), "InitLogging");
            Expect(typeof(Func<int, string, bool, bool>), "Connect");
            Expect(typeof(Func<int, int, string, bool>), "WriteMemory");
            Expect(typeof(Func<int, string, bool>), "WriteUserMemory");
            Expect(typeof(Func<string, uint, int, bool>), "PermalockUserBlock");
            foreach (string name in new[] { "WriteEPC", "SetAccessPassword", "SetKillPassword", "KillTag" })
                Expect(typeof(TextCall), name);
            foreach (string name in new[] { "LockTag", "UnlockTag" }) Expect(typeof(TextNumberCall), name);
            if (Load().GetField("ZSDKEventLogM") == null) throw Missing("field ZSDKEventLogM");
            var test = Delegate.CreateDelegate(typeof(Action), Load(), "TestManagedCodeAccessible", false, false);
            if (test == null) throw Missing("static void TestManagedCodeAccessible()");
            ((Action)test)();
        }

        public bool Call(object sdk, Member member, int first, int second, string text)
        {
            string name = member.ToString();
            switch (member)
            {
                case Member.InitLogging:
                    Bind<Action>(sdk, name)();
                    return true;
                case Member.LogErrorEvent:
                    LogErrorEvent(sdk, text);
                    return true;
                case Member.Connect:
                    return Bind<Func<int, string, bool, bool>>(sdk, name)(first, text, second != 0);
                case Member.Disconnect:
                    return Bind<Func<bool>>(sdk, name)();
                case Member.WriteMemory:
                    return Bind<Func<int, int, string, bool>>(sdk, name)(first, second, text);
                case Member.WriteUserMemory:
                    return Bind<Func<int, string, bool>>(sdk, name)(first, text);
                case Member.LockTag:
                case Member.UnlockTag:
                    return Bind<TextNumberCall>(sdk, name)(text, first);
                case Member.PermalockUserBlock:
                    return Bind<Func<string, uint, int, bool>>(sdk, name)(text, unchecked((uint)first), second);
                default:
                    return Bind<TextCall>(sdk, name)(text);
            }
        }

        /// A load that failed is tried again.
        Type Load()
        {
            if (type != null) return type;
            // The runtime would go on to look elsewhere, and meet the host, which has the same name.
            if (!File.Exists(path)) throw new FileNotFoundException("There is no " + path);
            return type = Assembly.LoadFrom(path).GetType("Tagwright.Managed.ZebraSDK", true);
        }

        /// Not MethodInfo.Invoke, which would wrap the member's exceptions in its own.
        D Bind<D>(object sdk, string name) where D : class
        {
            object bound = Delegate.CreateDelegate(typeof(D), sdk, name, false, false);
            if (bound == null) throw Missing(name);
            return (D)bound;
        }

        static void LogErrorEvent(object sdk, string text)
        {
            object log = sdk.GetType().GetField("ZSDKEventLogM").GetValue(sdk);
            if (log == null) throw Missing("logger: ZSDKEventLogM is null");
            MethodInfo write = log.GetType().GetMethod("LogErrorEvent", new[] { typeof(string) });
            if (write == null) throw Missing("LogErrorEvent(string) of its logger");
            if (write.ReturnType == typeof(void))
                ((Action<string>)Delegate.CreateDelegate(typeof(Action<string>), log, write))(text);
            else
                ((TextCall)Delegate.CreateDelegate(typeof(TextCall), log, write))(text);
        }

        void Expect(Type shape, string name)
        {
            MethodInfo wanted = shape.GetMethod("Invoke");
            var arguments = Array.ConvertAll(wanted.GetParameters(), p => p.ParameterType);
            MethodInfo found = Load().GetMethod(name, arguments);
            if (found == null || found.IsStatic || found.ReturnType != wanted.ReturnType)
                throw Missing(wanted.ToString().Replace("Invoke", name));
        }

        static MissingMethodException Missing(string what)
        {
            return new MissingMethodException("Tagwright.Managed.ZebraSDK has no " + what);
        }
    }
}
