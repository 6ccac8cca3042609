// atl_form ADDRESS PORT [SECONDS]: a form with the registered control in the system's own container
// (AtlAxWin), as a program has it that knows nothing but the ProgID. It reads from a PLC and prints
// the texts of the control's labels, one line each time that they change; the window stays for
// SECONDS (1), also while a job waits for an answer that doesn't come.
#include <cstdio>
#include <cstdlib>

#include "activex/control_host.h"
#include "activex/display.h"

namespace plexum::test {
namespace {

constexpr RECT kForm{0, 0, 400, 190};

template <typename Function>
Function exported(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::string narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

HWND container = nullptr;

// Prints the labels when they have changed.
void CALLBACK print_labels(HWND, UINT, UINT_PTR, DWORD) {
  static std::string last;
  std::string line = "labels";
  for (const std::wstring& text : texts_below(container)) line += " | " + narrow(text);
  if (line == last) return;
  last = line;
  std::puts(line.c_str());
  std::fflush(stdout);
}

void read_plc(_PlexumLink* link, const std::wstring& address, const std::wstring& port,
              LONG seconds) {
  const auto call = [link](const wchar_t* name, const std::vector<VariantVariable>& arguments) {
    return narrow(invoke(link, name, DISPATCH_METHOD, arguments).value.shown());
  };
  link->put_Tzeit(seconds * 1000);
  std::printf("connected %s\n", call(L"ag_ini", list(address, port, L"1.0", L"3.2")).c_str());
  std::printf("read %s\n", call(L"ag_Read", list(1, 4, 0, L"B", L"D")).c_str());
  // A tick more, for what the labels show in the end.
  const DWORD begin = GetTickCount();
  while (GetTickCount() - begin < 500) link->MsgWait(50);
}

int run(const std::wstring& address, const std::wstring& port, LONG seconds) {
  const HMODULE atl = LoadLibraryW(L"atl100.dll");
  const auto initialise = exported<BOOL(WINAPI*)()>(atl, "AtlAxWinInit");
  const auto get_control = exported<HRESULT(WINAPI*)(HWND, IUnknown**)>(atl, "AtlAxGetControl");
  if (initialise == nullptr || get_control == nullptr || !initialise()) return 2;
  HWND form = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, kForm.left, kForm.top,
                              kForm.right, kForm.bottom, nullptr, nullptr, nullptr, nullptr);
  container = CreateWindowExW(0, L"AtlAxWin100", L"Plexum.PlexumLink", WS_CHILD | WS_VISIBLE, 20,
                              20, 360, 144, form, nullptr, nullptr, nullptr);
  ComPtr<IUnknown> control;
  ComPtr<_PlexumLink> link;
  if (container == nullptr || FAILED(get_control(container, &control)) ||
      FAILED(control.As(&link))) {
    std::puts("the container has no control");
    return 2;
  }
  const UINT_PTR timer = SetTimer(nullptr, 0, 20, print_labels);
  read_plc(link.Get(), address, port, seconds);
  KillTimer(nullptr, timer);
  control.Reset();
  link.Reset();
  DestroyWindow(form);
  std::puts("END");
  return 0;
}

std::wstring wide(const char* text) {
  const std::string narrow_text(text);
  return {narrow_text.begin(), narrow_text.end()};
}

}  // namespace
}  // namespace plexum::test

int main(int count, char** arguments) {
  if (count < 3) {
    std::puts("usage: atl_form ADDRESS PORT [SECONDS]");
    return 1;
  }
  if (!plexum::test::take_own_desktop()) {
    std::puts("no display");
    return 2;
  }
  OleInitialize(nullptr);
  const int result =
      plexum::test::run(plexum::test::wide(arguments[1]), plexum::test::wide(arguments[2]),
                        count > 3 ? static_cast<LONG>(std::atoi(arguments[3])) : 1);
  OleUninitialize();
  return result;
}
