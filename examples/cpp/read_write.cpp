// Writes to and reads from data block 10 of a PLC, early bound by the type library.
//
//   read_write [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
//
// With Visual C++ the compiler makes the declarations from the control itself; give the bitness of
// the file that is registered. With MinGW-w64 they come from the header that widl makes of
// plexum.idl.
#include <windows.h>

#include <cstdio>
#include <string>

#ifdef _MSC_VER
#import "PlexumLink.ocx" raw_interfaces_only no_namespace
#else
#include "plexum_interfaces.h"
#endif

namespace {

// A string variable as the control takes it: by reference, and it may be changed.
class Text {
 public:
  Text(const wchar_t* text) : text_(SysAllocString(text)) {}
  // A byte string: each byte as the character of the system's code page.
  explicit Text(const std::string& bytes) {
    const int size = static_cast<int>(bytes.size());
    text_ = SysAllocStringLen(nullptr, static_cast<UINT>(size));
    MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text_, size);
  }
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  operator BSTR*() { return &text_; }
  [[nodiscard]] BSTR value() const { return text_; }

 private:
  BSTR text_ = nullptr;
};

// The bytes of a byte string.
std::string bytes_of(BSTR text) {
  const int size = static_cast<int>(SysStringLen(text));
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, size, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

// What a write came to. Most jobs refuse to start while an error stands in err.
void report(_PlexumLink* plc, const char* what, HRESULT call, bool done) {
  if (FAILED(call)) {
    std::printf("%s: run-time error %lu\n", what, HRESULT_CODE(call));
    VARIANT_BOOL closed = VARIANT_FALSE;
    plc->ag_exit(&closed);  // the connection's state is unknown: the next job shall reconnect
    plc->put_s7init(VARIANT_FALSE);
    plc->put_inuse(VARIANT_FALSE);
  } else if (done) {
    std::printf("%s: written\n", what);
    return;
  } else {
    long err = 0;
    plc->get_err(&err);
    std::printf("%s: refused, err %ld\n", what, err);
  }
  plc->put_err(0);
}

void write(_PlexumLink* plc) {
  VARIANT_BOOL done = VARIANT_FALSE;
  Text block(L"10"), area(L"D"), word_at(L"0"), word(L"4660"), float_at(L"8"), number(L"-2.5");
  HRESULT call = plc->ag_WriteW(block, word_at, word, area, &done);
  report(plc, "word 4660 at byte 0", call, done != VARIANT_FALSE);
  call = plc->ag_WriteF(block, float_at, number, area, &done);
  report(plc, "float -2.5 at byte 8", call, done != VARIANT_FALSE);

  VARIANT result;
  VariantInit(&result);
  Text bytes_at(L"20"), bytes(std::string("\x41\x80\xFF"));
  call = plc->ag_WriteMB(block, bytes_at, bytes, area, &result);
  report(plc, "3 bytes at byte 20", call, result.vt == VT_BOOL && result.boolVal);
  VariantClear(&result);
  Text missing(L"99"), byte(std::string("\x01"));
  call = plc->ag_WriteB(missing, word_at, byte, area, &result);
  report(plc, "byte in a missing block", call, result.vt == VT_BOOL && result.boolVal);
  VariantClear(&result);
}

void read(_PlexumLink* plc) {
  VARIANT result;
  VariantInit(&result);
  Text block(L"10"), area(L"D"), at(L"20"), three(L"3"), raw(L"C");
  if (SUCCEEDED(plc->ag_ReadB(block, three, at, raw, area, &result)) && result.vt == VT_BSTR) {
    std::printf("bytes read:");
    for (const char byte : bytes_of(result.bstrVal)) {
      std::printf(" %02X", static_cast<unsigned char>(byte));
    }
    std::printf("\n");
  }
  VariantClear(&result);

  Text float_at(L"8"), four(L"4"), floats(L"F");
  if (SUCCEEDED(plc->ag_Read(block, four, float_at, floats, area, &result)) &&
      result.vt == (VT_ARRAY | VT_R8)) {
    LONG first = 1;  // arrays begin at 1
    double value = 0;
    SafeArrayGetElement(result.parray, &first, &value);
    std::printf("float read: %g\n", value);
  }
  VariantClear(&result);
}

int run(_PlexumLink* plc, int argc, wchar_t** argv) {
  const auto argument = [&](int index, const wchar_t* otherwise) {
    return argc > index ? argv[index] : otherwise;
  };
  plc->put_Tzeit(1000);  // slices of up to a millisecond each
  Text address(argument(1, L"127.0.0.1")), port(argument(2, L"102"));
  Text own(argument(3, L"1.0")), theirs(argument(4, L"3.2"));
  plc->put_CP_IP(address.value());  // the properties are for jobs that have to connect anew
  plc->put_TsapE(own.value());
  plc->put_TsapF(theirs.value());
  VARIANT_BOOL connected = VARIANT_FALSE;
  const HRESULT call = plc->ag_ini(address, port, own, theirs, &connected);
  if (FAILED(call) || !connected) {
    long err = 0;
    plc->get_err(&err);
    std::printf("no connection, err %ld, %08lX\n", err, static_cast<unsigned long>(call));
    return 1;
  }
  std::printf("connected\n");
  write(plc);
  read(plc);
  VARIANT_BOOL closed = VARIANT_FALSE;
  plc->ag_exit(&closed);
  std::printf("disconnected\n");
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  CoInitialize(nullptr);  // a single-threaded apartment
  _PlexumLink* plc = nullptr;
  int code = 2;
  const HRESULT created = CoCreateInstance(__uuidof(PlexumLink), nullptr, CLSCTX_INPROC_SERVER,
                                           __uuidof(_PlexumLink), reinterpret_cast<void**>(&plc));
  if (SUCCEEDED(created)) {
    code = run(plc, argc, argv);
    plc->Release();
  } else {
    std::printf("no control, %08lX: is the %d-bit one registered?\n",
                static_cast<unsigned long>(created), static_cast<int>(8 * sizeof(void*)));
  }
  CoUninitialize();
  return code;
}
