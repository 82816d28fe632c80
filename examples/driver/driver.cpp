// A driver in C++17: starts tagwright with a control channel, asks for an encoder pipe, encodes
// three cards over it, shuts everything down and looks at the exit code.
#include <iostream>
#include <string>
#include <tagwright/client.hpp>

namespace {

constexpr int kCards = 3;
constexpr std::uint32_t kConnectMs = 5000;
constexpr std::uint32_t kEndMs = 15000;

// An EPC of 96 bits that ends in the card's number, below 10.
std::string Job(int card) {
  return "<zsdk_job>"
         "<printer port_type=\"1\" port_address=\"USB002\"/>"
         "<write segment=\"1\" data=\"300833B2DDD901400000000" +
         std::to_string(card) + "\"/></zsdk_job>";
}

bool EncodeCards(tagwright::Client& encoder) {
  bool all = true;
  for (int card = 1; card <= kCards; ++card) {
    const tagwright::Status status = encoder.Encode(Job(card));
    std::cout << "card " << card << ": " << status.Name() << '\n';
    all = all && status.Succeeded();
  }
  return all;
}

bool Work() {
  tagwright::Process process(TAGWRIGHT_CONTROL);
  tagwright::Client control = process.Connect(kConnectMs);
  const std::string name = process.PipeName() + "-1";
  if (!control.AddEncoder(name).Succeeded()) return false;
  tagwright::Client encoder(name, kConnectMs);
  const bool encoded = EncodeCards(encoder);
  const bool ended = control.Shutdown().Succeeded() && process.Wait(kEndMs) == 0;
  std::cout << (ended ? "tagwright ended with exit code 0\n" : "tagwright did not end in order\n");
  return encoded && ended;
}

}  // namespace

int main() try { return Work() ? 0 : 1; } catch (const tagwright::Error& error) {
  std::cerr << error.what() << " (system error " << error.SystemError() << ")\n";
  return 1;
}
