#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "activex/automation_value.h"
#include "activex/com_error.h"
#include "activex/floating_point.h"
#include "activex/link_environment.h"
#include "activex/member_call.h"
#include "activex/module.h"
#include "base/tcp_client.h"
#include "control/plexum_link.h"

namespace plexum::activex {

class Hosting;

// The COM object of one control: the dispatch interface over the core's PlexumLink, and behind it
// the interfaces of a visible control (hosting.h). It lives on the apartment that created it.
//
// Entry points are of two kinds:
// - A member of the dispatch interface may wait, and it computes. It runs inside a MemberCall
//   (run_member), which keeps the object alive and sets the control's own floating-point state.
// - An entry point of the hosting interfaces calls the container at most. It keeps the object alive
//   (HostingPart::run_hosting); the floating-point state stays the host's.
// Both kinds keep the object alive because the host may release it before they return, from inside
// a wait or a callback. What neither waits nor calls the host does without; guarded() alone keeps
// its exceptions in.
class LinkObject final : public _PlexumLink,
                         public ISupportErrorInfo,
                         public IProvideClassInfo2,
                         private LinkEnvironment::Owner {
 public:
  static HRESULT create(REFIID iid, void** object) noexcept;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** type) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argument) override;

  // ISupportErrorInfo
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override;

  // IProvideClassInfo2
  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** type) override;
  HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* guid) override;

  // _PlexumLink: every member of docs/members.toml, made by interface.py.
#include "link_declarations.inc"

  // Keeps the object alive until the end of a block.
  class Reference {
   public:
    explicit Reference(LinkObject& object) noexcept;
    ~Reference();
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

   private:
    LinkObject& object_;
  };

  // -- for the hosting interfaces

  [[nodiscard]] plexum::PlexumLink& core() noexcept { return link_; }
  void close_connection() { tcp_client_->Close(); }
  DISPID id_of(const std::string& member);

 private:
  // One call of a member of the dispatch interface, on the stack of its entry point.
  class MemberCall {
   public:
    explicit MemberCall(LinkObject& object) noexcept;
    MemberCall(const MemberCall&) = delete;
    MemberCall& operator=(const MemberCall&) = delete;

   private:
    const Reference reference_;
    const FloatingPointBoundary::Control floating_point_;
  };

  LinkObject();
  ~LinkObject();

  // Runs the body of a member.
  template <typename Body>
  HRESULT run_member(Body&& body) noexcept {
    const MemberCall call(*this);
    SetErrorInfo(0, nullptr);
    const HRESULT result = guarded(body);
    guarded([&] { refresh_state_label(); });
    return result;
  }

  // Runs a member of the core: member_call.h says how it gets its arguments, automation_value.h how
  // the caller gets its result.
  template <typename Result, typename Member, typename... Arguments>
  HRESULT run_member(Result result, Member member, Arguments... arguments) noexcept {
    if (is_missing(result)) return E_POINTER;
    clear_result(result);
    return run_member([&] { call_member(result, link_, member, arguments...); });
  }

  void* find_interface(REFIID iid) noexcept;
  // The description of the dispatch interface.
  ITypeInfo* type_info();

  // LinkEnvironment::Owner
  void notify_change(const std::string& property) override;
  HWND window() override;
  void enable_modeless(bool enabled) noexcept override;
  void refresh_state_label() override;

  const ModuleLock module_lock_;
  std::atomic<ULONG> references_{1};
  ULONG own_references_ = 0;  // of these, those of the calls that are running

  LinkEnvironment environment_{*this};
  std::unique_ptr<TcpClient> tcp_client_;
  PlexumLink link_;
  ComPtr<ITypeInfo> type_info_;
  std::unique_ptr<Hosting> hosting_;
};

}  // namespace plexum::activex
