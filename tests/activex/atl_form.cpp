// atl_form ADDRESS PORT [SECONDS]: a form with the registered control in the system's own container
// (AtlAxWin), as a program has it that knows nothing but the ProgID. It reads from a PLC and prints
// the texts of the control's labels, one line each time that they change; the window stays for
// SECONDS (1), also while a job waits for an answer that doesn't come.
#include <cstdio>
#include <cstdlib>

#include "activex/com_headers.h"
#include "activex/display.h"

using plexum::activex::ComPtr;
using plexum::test::texts_below;

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

void read_plc(_PlexumLink& link, const std::wstring& address, const std::wstring& port,
              LONG seconds) {
  const auto variable = [](const wchar_t* text) { return SysAllocString(text); };
  BSTR remote = variable(address.c_str());
  BSTR remote_port = variable(port.c_str());
  BSTR calling = variable(L"1.0");
  BSTR called = variable(L"3.2");
  VARIANT_BOOL connected = VARIANT_FALSE;
  link.put_Tzeit(seconds * 1000);
  link.ag_ini(&remote, &remote_port, &calling, &called, &connected);
  std::printf("connected %d\n", connected != VARIANT_FALSE);

  BSTR db = variable(L"1");
  BSTR count = variable(L"4");
  BSTR start = variable(L"0");
  BSTR type = variable(L"B");
  BSTR area = variable(L"D");
  VARIANT result;
  VariantInit(&result);
  link.ag_Read(&db, &count, &start, &type, &area, &result);
  LONG err = 0;
  link.get_err(&err);
  std::printf("read type %u, err %ld\n", static_cast<unsigned>(result.vt), err);
  VariantClear(&result);
  for (BSTR text : {remote, remote_port, calling, called, db, count, start, type, area}) {
    SysFreeString(text);
  }
  // A tick more, for what the labels show in the end.
  const DWORD begin = GetTickCount();
  while (GetTickCount() - begin < 500) link.MsgWait(50);
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
  read_plc(*link.Get(), address, port, seconds);
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
  const int result = run(wide(arguments[1]), wide(arguments[2]),
                         count > 3 ? static_cast<LONG>(std::atoi(arguments[3])) : 1);
  OleUninitialize();
  return result;
}
