#include <system_error>

#include "cli/system/child_program.h"
#include "platform/windows/code_page.h"
#include "platform/windows/windows_headers.h"

namespace plexum::cli {
namespace {

[[noreturn]] void fail(const std::string& program) {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), program);
}

// The program's path; empty when it isn't in PATH. The current folder is not searched.
std::wstring find_program(const std::string& program) {
  std::wstring folders(32'768, L'\0');
  const DWORD length =
      GetEnvironmentVariableW(L"PATH", folders.data(), static_cast<DWORD>(folders.size()));
  folders.resize(length < folders.size() ? length : 0);
  wchar_t path[MAX_PATH];
  const std::wstring name = windows::utf16_from_utf8(program);
  const DWORD found = SearchPathW(folders.c_str(), name.c_str(), L".exe", MAX_PATH, path, nullptr);
  return found > 0 && found < MAX_PATH ? std::wstring(path, found) : std::wstring();
}

void write_all(HANDLE file, const std::string& input) {
  for (std::size_t done = 0; done < input.size();) {
    DWORD written = 0;
    const auto size = static_cast<DWORD>(input.size() - done);
    if (WriteFile(file, input.data() + done, size, &written, nullptr) == 0) return;
    done += written;
  }
}

}  // namespace

std::optional<int> run_with_input(const std::string& program, const std::string& input) {
  const std::wstring path = find_program(program);
  if (path.empty()) return {};
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
  if (CreatePipe(&reading, &writing, &inheritable, 0) == 0) fail(program);
  SetHandleInformation(writing, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = reading;
  startup.hStdOutput = GetStdHandle(STD_ERROR_HANDLE);
  startup.hStdError = startup.hStdOutput;
  PROCESS_INFORMATION child{};
  const BOOL started = CreateProcessW(path.c_str(), nullptr, nullptr, nullptr, TRUE, 0, nullptr,
                                      nullptr, &startup, &child);
  CloseHandle(reading);
  if (started == 0) {
    CloseHandle(writing);
    fail(program);
  }
  write_all(writing, input);
  CloseHandle(writing);
  DWORD code = 0;
  WaitForSingleObject(child.hProcess, INFINITE);
  GetExitCodeProcess(child.hProcess, &code);
  CloseHandle(child.hThread);
  CloseHandle(child.hProcess);
  return static_cast<int>(code);
}

}  // namespace plexum::cli
