// The control as Windows hosts use it, against the least program that plays the same telegrams:
// plexum_bench_windows PORT, where a PLC answers.
#include "platform/windows/winsock.h"
//
#include <array>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "activex/com_headers.h"
#include "bench/jobs.h"
#include "bench/samples.h"
#include "platform/windows/host_environment.h"

namespace plexum::bench {
namespace {

using activex::ComPtr;

constexpr std::uint16_t kPdu = 960;

void demand(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

// One blocking send and, as a rule, one blocking receive an exchange.
class WindowsFloor {
 public:
  explicit WindowsFloor(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    demand(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
           "the floor's connection");
  }
  WindowsFloor(const WindowsFloor&) = delete;
  WindowsFloor& operator=(const WindowsFloor&) = delete;
  ~WindowsFloor() { ::closesocket(socket_); }

  void play(const Dialogue& dialogue) const {
    static std::array<char, 16384> answer;
    for (const Exchange& exchange : dialogue) {
      const auto size = static_cast<int>(exchange.telegram.size());
      demand(::send(socket_, exchange.telegram.data(), size, 0) == size, "the floor's send");
      for (std::size_t received = 0; received < exchange.answer_size;) {
        const int count = ::recv(socket_, answer.data(), static_cast<int>(answer.size()), 0);
        demand(count > 0, "the floor's receive");
        received += static_cast<std::size_t>(count);
      }
    }
  }

 private:
  SOCKET socket_;
};

// String variables of a host.
template <std::size_t count>
class Texts {
 public:
  explicit Texts(const std::array<std::wstring, count>& texts) {
    for (std::size_t i = 0; i < count; ++i) texts_[i] = SysAllocString(texts[i].c_str());
  }
  Texts(const Texts&) = delete;
  Texts& operator=(const Texts&) = delete;
  ~Texts() {
    for (BSTR text : texts_) SysFreeString(text);
  }

  BSTR* operator[](std::size_t i) { return &texts_[i]; }

 private:
  std::array<BSTR, count> texts_;
};

ComPtr<_PlexumLink> create_control() {
  using GetClassObject = HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, void**);
  const HMODULE module = LoadLibraryA(PLEXUM_CONTROL_FILE);
  demand(module != nullptr, "loading the control");
  const auto get_class_object = reinterpret_cast<GetClassObject>(
      reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
  ComPtr<IClassFactory> factory;
  ComPtr<_PlexumLink> link;
  demand(get_class_object(__uuidof(::PlexumLink), IID_PPV_ARGS(&factory)) == S_OK &&
             factory->CreateInstance(nullptr, IID_PPV_ARGS(&link)) == S_OK,
         "creating the control");
  return link;
}

void connect_control(_PlexumLink& link, const std::wstring& port) {
  Texts<4> texts({L"127.0.0.1", port, L"1.0", L"3.2"});
  VARIANT_BOOL done = VARIANT_FALSE;
  link.put_Tzeit(10000);  // the machine may be busy
  link.ag_ini(texts[0], texts[1], texts[2], texts[3], &done);
  demand(done == VARIANT_TRUE, "ag_ini");
}

void check(HRESULT status, VARIANT& result) {
  const bool good = status == S_OK && result.vt == VT_BSTR;
  VariantClear(&result);
  demand(good, "ag_ReadB");
}

void print(const std::string& name, const Pairs& pairs) {
  std::printf("%-34s %8s %8s %8s %8s %7s\n", name.c_str(),
              fixed(Pairs::typical(pairs.floor, &Sample::median), 2).c_str(),
              fixed(Pairs::typical(pairs.floor, &Sample::p99), 2).c_str(),
              fixed(Pairs::typical(pairs.subject, &Sample::median), 2).c_str(),
              fixed(Pairs::typical(pairs.subject, &Sample::p99), 2).c_str(),
              fixed(pairs.ratio(&Sample::median), 3).c_str());
  std::fflush(stdout);
}

void compare(_PlexumLink& link, const WindowsFloor& floor, const Job& job,
             const std::wstring& count) {
  constexpr int kPairs = 25;
  constexpr int kJobs = 200;
  windows::WindowsHostEnvironment environment;
  const Dialogue dialogue = dialogue_of(job, kPdu, environment);
  Texts<5> texts({L"1", count, L"0", L"C", L"D"});
  const auto by_floor = [&] { floor.play(dialogue); };
  const auto by_dual = [&] {
    VARIANT result;
    VariantInit(&result);
    check(link.ag_ReadB(texts[0], texts[1], texts[2], texts[3], texts[4], &result), result);
  };
  std::wstring name = L"ag_ReadB";
  LPOLESTR names[] = {name.data()};
  DISPID member = 0;
  demand(link.GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &member) == S_OK, "the name");
  const auto by_dispatch = [&] {
    std::array<VARIANT, 5> variants;
    for (std::size_t i = 0; i < variants.size(); ++i) {  // the last argument comes first
      variants[i].vt = VT_BYREF | VT_BSTR;
      variants[i].pbstrVal = texts[variants.size() - 1 - i];
    }
    DISPPARAMS parameters{variants.data(), nullptr, static_cast<UINT>(variants.size()), 0};
    VARIANT result;
    VariantInit(&result);
    check(link.Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &result,
                      nullptr, nullptr),
          result);
  };
  print(job.name + ", dual", measure_pairs(kPairs, kJobs, by_floor, by_dual));
  print(job.name + ", IDispatch", measure_pairs(kPairs, kJobs, by_floor, by_dispatch));
}

// How often the wait of a host with an idle message loop ends in some seconds.
void count_wake_ups() {
  constexpr DWORD kMilliseconds = 5000;
  const DWORD start = GetTickCount();
  int wake_ups = -1;  // the last one is only the end of the time
  int messages = 0;
  for (DWORD gone = 0; gone < kMilliseconds; gone = GetTickCount() - start) {
    MsgWaitForMultipleObjects(0, nullptr, FALSE, kMilliseconds - gone, QS_ALLINPUT);
    ++wake_ups;
    MSG message;
    for (; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); ++messages) DispatchMessageW(&message);
  }
  std::printf(
      "\nA connected control without a face, its host idle for 5 seconds: %d wake-ups, "
      "%d messages\n",
      wake_ups, messages);
}

void run(const std::wstring& port) {
  WSADATA data;
  demand(WSAStartup(MAKEWORD(2, 2), &data) == 0, "WSAStartup");
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const ComPtr<_PlexumLink> link = create_control();
  connect_control(*link.Get(), port);
  const WindowsFloor floor(static_cast<std::uint16_t>(std::stoi(port)));
  windows::WindowsHostEnvironment environment;
  floor.play(dialogue_of_connecting(kPdu, environment));
  std::printf("\nThe ActiveX control, bare answerer\n%-34s %17s %17s\n%-34s %8s %8s %8s %8s %7s\n",
              "microseconds", "floor", "control", "", "median", "p99", "median", "p99", "ratio");
  const std::vector<Job> jobs = round_trip_jobs();
  const std::array<const wchar_t*, 3> counts = {L"2", L"200", L"900"};
  for (std::size_t i = 0; i < counts.size(); ++i) compare(*link.Get(), floor, jobs[i], counts[i]);
  count_wake_ups();
}

}  // namespace
}  // namespace plexum::bench

int main(int count, char** arguments) {
  try {
    if (count != 2) throw std::runtime_error("usage: plexum_bench_windows PORT, which");
    const std::string port = arguments[1];
    plexum::bench::run(std::wstring(port.begin(), port.end()));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "plexum_bench_windows: %s failed\n", error.what());
    return 1;
  }
}
