// How containers save and load the control.
#include <gtest/gtest.h>

#include "activex/control_host.h"
#include "activex/stub_container.h"

namespace plexum::test {
namespace {

using Names = std::vector<std::wstring>;

const Names kOrder{L"CP_IP", L"TsapF", L"TsapE", L"Tzeit"};

ComPtr<IStream> memory_stream() {
  ComPtr<IStream> stream;
  CreateStreamOnHGlobal(nullptr, TRUE, &stream);
  return stream;
}

void rewind(IStream* stream) { stream->Seek({}, STREAM_SEEK_SET, nullptr); }

std::string content(IStream* stream) {
  rewind(stream);
  std::string bytes(4096, '\0');
  ULONG count = 0;
  stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &count);
  bytes.resize(count);
  return bytes;
}

ComPtr<IStream> stream_of(const std::string& bytes) {
  ComPtr<IStream> stream = memory_stream();
  stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
  rewind(stream.Get());
  return stream;
}

class Persistence : public ControlTest {
 protected:
  template <typename Interface>
  ComPtr<Interface> as(const ComPtr<_PlexumLink>& link) {
    ComPtr<Interface> result;
    EXPECT_EQ(link.As(&result), S_OK);
    return result;
  }

  // The four properties, joined by blanks.
  static std::wstring properties(const ComPtr<_PlexumLink>& link) {
    std::wstring all;
    for (const std::wstring& name : kOrder) {
      all += invoke(link.Get(), name.c_str(), DISPATCH_PROPERTYGET, {}).value.shown() + L" ";
    }
    return all;
  }

  static void set_properties(const ComPtr<_PlexumLink>& link) {
    link->put_CP_IP(BstrVariable(L"plc-\u00E4\u4E2D").get());
    link->put_TsapF(BstrVariable(L"3.2").get());
    link->put_TsapE(BstrVariable(L"1.0").get());
    link->put_Tzeit(-7);
  }

  static constexpr const wchar_t* kDefaults = L"String:0.0.0.0 String:0 String:0 Long:100 ";
  static constexpr const wchar_t* kSet = L"String:plc-\u00E4\u4E2D String:3.2 String:1.0 Long:-7 ";

  // What a control of that size saves after set_properties.
  std::string saved() {
    const auto link = file().create();
    set_properties(link);
    SIZEL size{1000, 2000};
    EXPECT_EQ(as<IOleObject>(link)->SetExtent(DVASPECT_CONTENT, &size), S_OK);
    const auto stream = memory_stream();
    EXPECT_EQ(as<IPersistStreamInit>(link)->Save(stream.Get(), TRUE), S_OK);
    return content(stream.Get());
  }
};

TEST_F(Persistence, ABagIsReadInOrderWithDefaults) {
  const auto link = file().create();
  set_properties(link);
  StubPropertyBag bag;
  bag.values = {{L"TsapF", L"10.2"}, {L"Tzeit", L"250"}};
  EXPECT_EQ(as<IPersistPropertyBag>(link)->Load(&bag, nullptr), S_OK);
  EXPECT_EQ(bag.names, kOrder);
  EXPECT_EQ(properties(link), L"String:0.0.0.0 String:10.2 String:0 Long:250 ");
}

TEST_F(Persistence, ABagIsWrittenInOrderWithoutDefaults) {
  const auto link = file().create();
  StubPropertyBag untouched;
  EXPECT_EQ(as<IPersistPropertyBag>(link)->Save(&untouched, TRUE, TRUE), S_OK);
  EXPECT_EQ(untouched.names, Names{});

  set_properties(link);
  StubPropertyBag bag;
  EXPECT_EQ(as<IPersistPropertyBag>(link)->Save(&bag, TRUE, FALSE), S_OK);
  EXPECT_EQ(bag.names, kOrder);
  const auto loaded = file().create();
  EXPECT_EQ(as<IPersistPropertyBag>(loaded)->Load(&bag, nullptr), S_OK);
  EXPECT_EQ(properties(loaded), kSet);
}

TEST_F(Persistence, ABagSaysInManyWaysThatItHasNoSuchProperty) {
  for (const HRESULT absence :
       {E_INVALIDARG, DISP_E_MEMBERNOTFOUND, DISP_E_UNKNOWNNAME, E_FAIL, S_FALSE}) {
    const auto link = file().create();
    set_properties(link);
    StubPropertyBag bag;
    bag.absence = absence;
    bag.values = {{L"TsapE", L"1.0"}};
    EXPECT_EQ(as<IPersistPropertyBag>(link)->Load(&bag, nullptr), S_OK) << absence;
    EXPECT_EQ(properties(link), L"String:0.0.0.0 String:0 String:1.0 Long:100 ") << absence;
  }
}

TEST_F(Persistence, AFailingBagIsTheContainersError) {
  const auto link = file().create();
  set_properties(link);
  StubPropertyBag bag;
  const auto persistence = as<IPersistPropertyBag>(link);
  for (const HRESULT failure : {E_ACCESSDENIED, E_OUTOFMEMORY, E_UNEXPECTED, DISP_E_EXCEPTION}) {
    bag.failure = failure;
    EXPECT_EQ(persistence->Load(&bag, nullptr), failure);
    EXPECT_EQ(persistence->Save(&bag, TRUE, FALSE), failure);
  }
  EXPECT_EQ(as<IPersistStreamInit>(link)->IsDirty(), S_OK);
  StubPropertyBag wrong;
  wrong.values = {{L"Tzeit", L"soon"}};
  EXPECT_EQ(persistence->Load(&wrong, nullptr), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(persistence->Load(nullptr, nullptr), E_POINTER);
}

TEST_F(Persistence, AStreamBringsAllBack) {
  const std::string bytes = saved();
  const auto link = file().create();
  const auto persistence = as<IPersistStreamInit>(link);
  // What follows in the stream is somebody else's.
  const auto stream = stream_of(bytes + "next");
  EXPECT_EQ(persistence->Load(stream.Get()), S_OK);
  EXPECT_EQ(properties(link), kSet);
  ULARGE_INTEGER position{};
  stream->Seek({}, STREAM_SEEK_CUR, &position);
  EXPECT_EQ(position.QuadPart, bytes.size());
  ULARGE_INTEGER size{};
  EXPECT_EQ(persistence->GetSizeMax(&size), S_OK);
  EXPECT_EQ(size.QuadPart, bytes.size());
  SIZEL extent{};
  EXPECT_EQ(as<IOleObject>(link)->GetExtent(DVASPECT_CONTENT, &extent), S_OK);
  EXPECT_EQ(extent.cx, 1000);
  EXPECT_EQ(extent.cy, 2000);
}

TEST_F(Persistence, AStreamOfSomethingElseIsRefused) {
  const std::string bytes = saved();
  const auto link = file().create();
  const auto persistence = as<IPersistStreamInit>(link);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_TRUE(FAILED(persistence->Load(stream_of(bytes.substr(0, length)).Get()))) << length;
  }
  EXPECT_EQ(properties(link), kDefaults) << "a stream that ends early changes nothing";
  // Every byte spoiled in turn: an error, or another text; no fault.
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (const char spoiled : {'\x00', '\x7F', '\xFF'}) {
      std::string garbage = bytes;
      garbage[at] = spoiled;
      const HRESULT result = persistence->Load(stream_of(garbage).Get());
      EXPECT_TRUE(result == S_OK || FAILED(result)) << at;
      EXPECT_TRUE(at >= 4 || result == STG_E_INVALIDHEADER) << at;
    }
  }
}

TEST_F(Persistence, AStorageBringsAllBack) {
  ComPtr<ILockBytes> bytes;
  ComPtr<IStorage> storage;
  ASSERT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, &bytes), S_OK);
  ASSERT_EQ(StgCreateDocfileOnILockBytes(
                bytes.Get(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &storage),
            S_OK);
  const auto link = file().create();
  const auto persistence = as<IPersistStorage>(link);
  EXPECT_TRUE(FAILED(persistence->Load(storage.Get()))) << "nothing is in it yet";
  EXPECT_EQ(persistence->InitNew(storage.Get()), S_OK);
  set_properties(link);
  EXPECT_EQ(persistence->Save(storage.Get(), TRUE), S_OK);
  EXPECT_EQ(persistence->SaveCompleted(nullptr), S_OK);
  EXPECT_EQ(persistence->IsDirty(), S_FALSE);
  const auto loaded = file().create();
  EXPECT_EQ(as<IPersistStorage>(loaded)->Load(storage.Get()), S_OK);
  EXPECT_EQ(properties(loaded), kSet);
  CLSID clsid{};
  EXPECT_EQ(ReadClassStg(storage.Get(), &clsid), S_OK);
  EXPECT_EQ(clsid, __uuidof(::PlexumLink));
}

TEST_F(Persistence, AChangeIsDirtyUntilItIsSaved) {
  const auto link = file().create();
  const auto persistence = as<IPersistStreamInit>(link);
  EXPECT_EQ(persistence->InitNew(), S_OK);
  EXPECT_EQ(persistence->IsDirty(), S_FALSE);
  link->put_Tzeit(5);
  EXPECT_EQ(persistence->IsDirty(), S_OK);
  EXPECT_EQ(persistence->Save(memory_stream().Get(), FALSE), S_OK);
  EXPECT_EQ(persistence->IsDirty(), S_OK);
  EXPECT_EQ(persistence->Save(memory_stream().Get(), TRUE), S_OK);
  EXPECT_EQ(persistence->IsDirty(), S_FALSE);
  EXPECT_EQ(persistence->InitNew(), S_OK);
  EXPECT_EQ(properties(link), kDefaults);
}

}  // namespace
}  // namespace plexum::test
