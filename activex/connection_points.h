#pragma once

#include <array>
#include <utility>
#include <vector>

#include "activex/hosting_part.h"

namespace plexum::activex {

class ConnectionPoints;

// Where clients of one outgoing interface connect. It has interfaces of its own, but lives and dies
// with the control: the reference count is the control's.
class ConnectionPoint final : public IConnectionPoint {
 public:
  ConnectionPoint(LinkObject& object, ConnectionPoints& points, const GUID& interface_id)
      : object_(object), points_(points), interface_id_(interface_id) {}
  ConnectionPoint(const ConnectionPoint&) = delete;
  ConnectionPoint& operator=(const ConnectionPoint&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return object_.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return object_.Release(); }

  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override;
  HRESULT STDMETHODCALLTYPE
  GetConnectionPointContainer(IConnectionPointContainer** points) override;
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) override;

  [[nodiscard]] const GUID& interface_id() const noexcept { return interface_id_; }

  using Connection = std::pair<DWORD, ComPtr<IUnknown>>;
  // A copy: a client that is being told may connect and disconnect.
  [[nodiscard]] std::vector<Connection> connections() const { return connections_; }

 private:
  LinkObject& object_;
  ConnectionPoints& points_;
  const GUID interface_id_;
  DWORD last_cookie_ = 0;
  std::vector<Connection> connections_;  // of the outgoing interface itself
};

// The two interfaces that the control calls: IPropertyNotifySink, and the source interface, which
// has no events.
class ConnectionPoints final : public HostingPart<IConnectionPointContainer> {
 public:
  ConnectionPoints(LinkObject& object, Hosting& hosting);

  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** points) override;
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  [[nodiscard]] ConnectionPoint& property_changes() noexcept { return points_[0]; }
  [[nodiscard]] ConnectionPoint& events() noexcept { return points_[1]; }

  // Tells every connected client of the new value of a property.
  void notify_change(DISPID property);

 private:
  std::array<ConnectionPoint, 2> points_;
};

}  // namespace plexum::activex
