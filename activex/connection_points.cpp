#include "activex/connection_points.h"

#include <algorithm>

#include "activex/enumeration.h"

namespace plexum::activex {

HRESULT ConnectionPoint::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IConnectionPoint)) return E_NOINTERFACE;
  *object = static_cast<IConnectionPoint*>(this);
  AddRef();
  return S_OK;
}

HRESULT ConnectionPoint::GetConnectionInterface(IID* iid) {
  if (iid == nullptr) return E_POINTER;
  *iid = interface_id_;
  return S_OK;
}

HRESULT ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** points) {
  if (points == nullptr) return E_POINTER;
  *points = &points_;
  points_.AddRef();
  return S_OK;
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (sink == nullptr || cookie == nullptr) return E_POINTER;
  *cookie = 0;
  const LinkObject::Reference reference(object_);
  return guarded([&] {
    ComPtr<IUnknown> client;
    // Clients of the source interface may be plain dispatch objects.
    if (FAILED(sink->QueryInterface(interface_id_, &client)) &&
        (interface_id_ != __uuidof(__PlexumLink) ||
         FAILED(sink->QueryInterface(__uuidof(IDispatch), &client)))) {
      throw ComError(CONNECT_E_CANNOTCONNECT);
    }
    connections_.emplace_back(last_cookie_ + 1, client);
    *cookie = ++last_cookie_;
  });
}

HRESULT ConnectionPoint::Unadvise(DWORD cookie) {
  const LinkObject::Reference reference(object_);
  const auto found = std::find_if(connections_.begin(), connections_.end(),
                                  [=](const Connection& each) { return each.first == cookie; });
  if (found == connections_.end()) return CONNECT_E_NOCONNECTION;
  const Connection released = *found;  // whose end may call in again
  connections_.erase(found);
  return S_OK;
}

HRESULT ConnectionPoint::EnumConnections(IEnumConnections** connections) {
  if (connections == nullptr) return E_POINTER;
  *connections = nullptr;
  return guarded([&] {
    Enumeration<IEnumConnections, CONNECTDATA, Connection>::create(connections_, connections);
  });
}

ConnectionPoints::ConnectionPoints(LinkObject& object, Hosting& hosting)
    : HostingPart(object, hosting),
      points_{ConnectionPoint(object, *this, __uuidof(IPropertyNotifySink)),
              ConnectionPoint(object, *this, __uuidof(__PlexumLink))} {}

HRESULT ConnectionPoints::EnumConnectionPoints(IEnumConnectionPoints** points) {
  if (points == nullptr) return E_POINTER;
  *points = nullptr;
  return guarded([&] {
    std::vector<ComPtr<IConnectionPoint>> all{&points_[0], &points_[1]};
    Enumeration<IEnumConnectionPoints, IConnectionPoint*, ComPtr<IConnectionPoint>>::create(
        std::move(all), points);
  });
}

HRESULT ConnectionPoints::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
  if (point == nullptr) return E_POINTER;
  *point = nullptr;
  for (ConnectionPoint& each : points_) {
    if (each.interface_id() != iid) continue;
    each.AddRef();
    *point = &each;
    return S_OK;
  }
  return CONNECT_E_NOCONNECTION;
}

void ConnectionPoints::notify_change(DISPID property) {
  for (const auto& [cookie, client] : property_changes().connections()) {
    // What Advise asked the client for, so it is of that type.
    static_cast<IPropertyNotifySink*>(client.Get())->OnChanged(property);
  }
}

}  // namespace plexum::activex
