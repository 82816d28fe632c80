#include "client/component/job_calls.h"

#include "encode/job_document.h"
#include "encode/operations.h"

namespace Tagwright {
namespace {

std::string Number(long long number) { return std::to_string(number); }
/// Texts may be passwords: only their length is shown.
std::string Characters(const WitnessedText& text) { return Number(text.Length()) + " characters"; }

class JobCalls {
 public:
  explicit JobCalls(Examination& examination)
      : _examination(examination),
        _component(examination.Component()),
        _object(examination.Create()) {}

  void Run(const TiXmlElement& root) {
    for (const TiXmlElement* element = root.FirstChildElement(); element != nullptr;
         element = element->NextSiblingElement()) {
      if (RunElement(*element)) continue;
      _examination.Refused("the job fails at <" + element->ValueStr() + ">");
      break;
    }
    if (_isConnected) {
      Member("Disconnect", [&](auto* into) { _component.Disconnect(_object, into); });
    }
  }
  void Dispose() { _examination.Dispose(_object); }

 private:
  template <class CallOfMember>
  WitnessedResult Try(const std::string& label, CallOfMember&& call,
                      std::initializer_list<const WitnessedText*> texts = {}) {
    WitnessedResult result = _examination.Call(label, call, texts);
    if (result.IsException())
      _examination.Refused(label + " raises an exception: " + result.Describe());
    return result;
  }
  template <class CallOfMember>
  bool Member(const std::string& label, CallOfMember&& call,
              std::initializer_list<const WitnessedText*> texts = {}) {
    return Try(label, call, texts).Succeeded();
  }

  bool RunElement(const TiXmlElement& element) {
    static constexpr struct {
      const char* name;
      bool (JobCalls::*run)(const TiXmlElement&);
    } kElements[] = {{"printer", &JobCalls::Connect},         {"lock", &JobCalls::DoLock},
                     {"unlock", &JobCalls::DoUnlock},         {"write", &JobCalls::Write},
                     {"setpassword", &JobCalls::SetPassword}, {"killtag", &JobCalls::Kill}};
    const OString name(element.Value());
    for (const auto& known : kElements) {
      if (name.CompareNoCase(known.name) == 0) return (this->*known.run)(element);
    }
    return false;
  }

  bool Connect(const TiXmlElement& element) {
    const Printer printer(&element);
    const WitnessedText address(printer.get_PortAddress());
    _isConnected = false;
    if (!_examination.TestAccess()) return false;
    const auto initLogging = [&](auto* into) { _component.InitLogging(_object, into); };
    if (Try("InitLogging", initLogging).IsException()) return false;
    const WitnessedResult result = Try(
        "Connect (port type " + Number(printer.get_PortType()) + ", " + Characters(address) + ")",
        [&](auto* into) {
          _component.Connect(_object, printer.get_PortType(), address.Text(),
                             printer.get_IsReaderConnectPerCardEnabled() ? 1 : 0, into);
        },
        {&address});
    if (result.IsException()) LogError(OString("Connect: ") << result.Describe().c_str());
    _isConnected = result.Succeeded();
    return _isConnected;
  }

  void LogError(const OString& error) {
    const WitnessedText text(error);
    Try("LogErrorEvent (" + Characters(text) + ")",
        [&](auto* into) { _component.LogErrorEvent(_object, text.Text(), into); }, {&text});
  }

  bool Write(const TiXmlElement& element) {
    const WriteData write(&element);
    const WitnessedText data(write.get_Data());
    const std::string place = "word " + Number(write.get_Offset()) + ", " + Characters(data) + ")";
    switch (write.get_Segment()) {
      case WriteData::kEpcBank:
        return Member("WriteEPC (" + Characters(data) + ")",
                      [&](auto* into) { _component.WriteEPC(_object, data.Text(), into); },
                      {&data});
      case WriteData::kUserBank:
        return Member("WriteUserMemory (" + place,
                      [&](auto* into) {
                        _component.WriteUserMemory(_object, write.get_Offset(), data.Text(), into);
                      },
                      {&data});
      default:
        return Member("WriteMemory (bank " + Number(write.get_Segment()) + ", " + place,
                      [&](auto* into) {
                        _component.WriteMemory(_object, write.get_Segment(), write.get_Offset(),
                                               data.Text(), into);
                      },
                      {&data});
    }
  }

  bool DoLock(const TiXmlElement& element) {
    const Lock lock(&element);
    const WitnessedText password(lock.get_Password());
    if (!lock.IsBlockPermalock()) {
      return Member("LockTag (action " + Number(lock.get_LockAction()) + ")",
                    [&](auto* into) {
                      _component.LockTag(_object, password.Text(), lock.get_LockAction(), into);
                    },
                    {&password});
    }
    const auto start = static_cast<std::uint32_t>(lock.get_StartBlock());
    return Member("PermalockUserBlock (from " + Number(start) + ", " +
                      Number(lock.get_BlockCount()) + " blocks)",
                  [&](auto* into) {
                    _component.PermalockUserBlock(_object, password.Text(), start,
                                                  lock.get_BlockCount(), into);
                  },
                  {&password});
  }

  bool DoUnlock(const TiXmlElement& element) {
    const Unlock unlock(&element);
    const WitnessedText password(unlock.get_Password());
    return Member("UnlockTag (action " + Number(unlock.get_UnlockAction()) + ")",
                  [&](auto* into) {
                    _component.UnlockTag(_object, password.Text(), unlock.get_UnlockAction(), into);
                  },
                  {&password});
  }

  bool SetPassword(const TiXmlElement& element) {
    const Password password(&element);
    const WitnessedText text(password.get_Password());
    const bool isKill = password.IsKillPassword();
    const auto member = isKill ? _component.SetKillPassword : _component.SetAccessPassword;
    return Member(isKill ? "SetKillPassword" : "SetAccessPassword",
                  [&](auto* into) { member(_object, text.Text(), into); }, {&text});
  }

  bool Kill(const TiXmlElement& element) {
    const WitnessedText password(KillTag(&element).get_KillPassword());
    return Member("KillTag",
                  [&](auto* into) { _component.KillTag(_object, password.Text(), into); },
                  {&password});
  }

  Examination& _examination;
  const TagwrightComponentInterface& _component;
  TagwrightComponentObject* _object;
  bool _isConnected = false;
};

}  // namespace

void CallForJob(Examination& examination, std::span<const std::uint8_t> document) {
  const JobDocumentPtr job = ParseJobDocument(document.data(), static_cast<DWORD>(document.size()));
  const TiXmlElement* const root = job->FirstChildElement("zsdk_job");
  JobCalls calls(examination);
  if (root == nullptr) {
    examination.Refused("the job has no zsdk_job");
  } else {
    calls.Run(*root);
  }
  calls.Dispose();
}

}  // namespace Tagwright
