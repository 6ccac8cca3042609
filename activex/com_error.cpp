#include "activex/com_error.h"

#include <cstdint>
#include <new>
#include <string_view>
#include <system_error>

#include "activex/type_library.h"
#include "base/runtime_error.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"
#include "platform/windows/host_environment.h"

namespace plexum::activex {
namespace {

// What hosts get for the number of a run-time error. Those that VB knows, up to 65535, are HRESULTs
// of the control facility; a TCP component may have failed with any other HRESULT, which passes as
// it is.
HRESULT result_of(std::int32_t number) {
  constexpr auto kControlFailure = static_cast<HRESULT>(0x800A0000UL);
  if (number < 0) return number;
  return number <= 0xFFFF ? kControlFailure | number : E_FAIL;
}

void describe(const RuntimeError& error) {
  ComPtr<ICreateErrorInfo> creation;
  check(CreateErrorInfo(creation.GetAddressOf()));
  check(creation->SetGUID(__uuidof(_PlexumLink)));
  const windows::Bstr source(windows::utf16_from_utf8(kErrorSource));
  check(creation->SetSource(source.get()));
  const windows::Bstr description(windows::utf16_from_utf8(error.text()));
  check(creation->SetDescription(description.get()));
  ComPtr<IErrorInfo> info;
  check(creation.As(&info));
  check(SetErrorInfo(0, info.Get()));
}

HRESULT report(const RuntimeError& error) noexcept {
  try {
    describe(error);
  } catch (...) {
    // The number says enough.
  }
  return result_of(error.number());
}

}  // namespace

HRESULT result_of_current_exception() noexcept {
  try {
    throw;
  } catch (const RuntimeError& error) {
    return report(error);
  } catch (const ComError& error) {
    return error.result();
  } catch (const windows::Abandoned&) {
    return E_ABORT;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::system_error& error) {
    return HRESULT_FROM_WIN32(static_cast<DWORD>(error.code().value()));
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace plexum::activex
