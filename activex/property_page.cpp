#include "activex/property_page.h"

#include <algorithm>

#include "activex/com_error.h"
#include "activex/identity.h"
#include "activex/task_memory.h"
#include "platform/windows/bstr.h"
#include "platform/windows/module.h"

namespace plexum::activex {
namespace {

// The fields' identifiers in the resource are this and the numbers after it.
constexpr int kFirstField = 201;

LPCWSTR dialog_resource() { return MAKEINTRESOURCEW(kPropertyPageDialog); }

// The size that the dialog's resource gives it on this screen.
SIZE natural_size() {
  HWND dialog =
      CreateDialogParamW(windows::this_module(), dialog_resource(), GetDesktopWindow(), nullptr, 0);
  RECT bounds{0, 0, 300, 150};  // where windows can't be made
  if (dialog != nullptr) {
    GetWindowRect(dialog, &bounds);
    DestroyWindow(dialog);
  }
  return {bounds.right - bounds.left, bounds.bottom - bounds.top};
}

}  // namespace

HRESULT PropertyPage::create(REFIID iid, void** object) noexcept {
  return guarded([&] {
    auto* created = new PropertyPage;
    const HRESULT result = created->QueryInterface(iid, object);
    created->Release();
    check(result);
  });
}

PropertyPage::~PropertyPage() { Deactivate(); }

HRESULT PropertyPage::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IPropertyPage)) return E_NOINTERFACE;
  *object = static_cast<IPropertyPage*>(this);
  AddRef();
  return S_OK;
}

ULONG PropertyPage::AddRef() { return ++references_; }

ULONG PropertyPage::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT PropertyPage::SetPageSite(IPropertyPageSite* site) {
  if (site != nullptr && site_) return E_UNEXPECTED;
  site_ = site;
  return S_OK;
}

HRESULT PropertyPage::Activate(HWND parent, LPCRECT position, WINBOOL) {
  if (position == nullptr) return E_POINTER;
  if (dialog_ != nullptr) return E_UNEXPECTED;
  return guarded([&] {
    dialog_ = CreateDialogParamW(windows::this_module(), dialog_resource(), parent,
                                 dialog_procedure, reinterpret_cast<LPARAM>(this));
    if (dialog_ == nullptr) throw ComError(HRESULT_FROM_WIN32(GetLastError()));
    Move(position);
    show_properties();
  });
}

HRESULT PropertyPage::Deactivate() {
  if (dialog_ != nullptr) {
    SetWindowLongPtrW(dialog_, GWLP_USERDATA, 0);
    DestroyWindow(dialog_);
  }
  dialog_ = nullptr;
  return S_OK;
}

HRESULT PropertyPage::GetPageInfo(PROPPAGEINFO* information) {
  if (information == nullptr) return E_POINTER;
  return guarded([&] {
    *information = {};
    information->cb = sizeof *information;
    information->size = natural_size();
    information->pszTitle = task_text(L"Connection");
  });
}

HRESULT PropertyPage::SetObjects(ULONG count, IUnknown** objects) {
  if (count != 0 && objects == nullptr) return E_POINTER;
  return guarded([&] {
    std::vector<ComPtr<_PlexumLink>> links(count);
    for (ULONG i = 0; i < count; ++i) {
      if (objects[i] == nullptr) throw ComError(E_POINTER);
      check(objects[i]->QueryInterface(IID_PPV_ARGS(&links[i])));
    }
    links_.swap(links);
    show_properties();
  });
}

HRESULT PropertyPage::Show(UINT command) {
  if (dialog_ == nullptr) return E_UNEXPECTED;
  ShowWindow(dialog_, static_cast<int>(command));
  return S_OK;
}

HRESULT PropertyPage::Move(LPCRECT position) {
  if (position == nullptr) return E_POINTER;
  if (dialog_ == nullptr) return E_UNEXPECTED;
  SetWindowPos(dialog_, nullptr, position->left, position->top, position->right - position->left,
               position->bottom - position->top, SWP_NOZORDER | SWP_NOACTIVATE);
  return S_OK;
}

HRESULT PropertyPage::IsPageDirty() {
  return std::any_of(is_edited_.begin(), is_edited_.end(), [](bool each) { return each; })
             ? S_OK
             : S_FALSE;
}

HRESULT PropertyPage::Apply() {
  if (dialog_ == nullptr) return E_UNEXPECTED;
  return guarded([&] {
    // All that is needed is taken first: a let may end the dialog.
    const Edits edits = take_edits();
    const auto links = links_;
    for (const auto& link : links) apply(edits, *link.Get());
  });
}

HRESULT PropertyPage::TranslateAccelerator(MSG* message) {
  if (message == nullptr) return E_POINTER;
  if (dialog_ != nullptr && IsDialogMessageW(dialog_, message)) return S_OK;
  return site_ ? site_->TranslateAccelerator(message) : S_FALSE;
}

INT_PTR CALLBACK PropertyPage::dialog_procedure(HWND dialog, UINT message, WPARAM wparam,
                                                LPARAM lparam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, GWLP_USERDATA, lparam);
    return FALSE;  // the focus stays where the frame has it
  }
  auto* self = reinterpret_cast<PropertyPage*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
  if (self == nullptr || message != WM_COMMAND || HIWORD(wparam) != EN_CHANGE) return FALSE;
  self->edited(LOWORD(wparam));
  return TRUE;
}

void PropertyPage::show_properties() {
  if (dialog_ == nullptr || links_.empty()) return;
  _PlexumLink& link = *links_.front().Get();
  is_filling_ = true;
  const auto show = [&](Field field, HRESULT (STDMETHODCALLTYPE _PlexumLink::*get)(BSTR*)) {
    windows::Bstr text;
    if (FAILED((link.*get)(text.out()))) return;
    SetDlgItemTextW(dialog_, kFirstField + static_cast<int>(field),
                    std::wstring(text.view()).c_str());
  };
  show(kAddress, &_PlexumLink::get_CP_IP);
  show(kCalling, &_PlexumLink::get_TsapE);
  show(kCalled, &_PlexumLink::get_TsapF);
  LONG time = 0;
  link.get_Tzeit(&time);
  SetDlgItemTextW(dialog_, kFirstField + static_cast<int>(kTime), std::to_wstring(time).c_str());
  is_filling_ = false;
  is_edited_ = {};
}

std::wstring PropertyPage::text_in(Field field) const {
  HWND edit = GetDlgItem(dialog_, kFirstField + static_cast<int>(field));
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(edit)) + 1, L'\0');
  const int length = GetWindowTextW(edit, text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(std::max(0, length)));
  return text;
}

// What the user hasn't touched stays as it is: controls that are edited together may differ there.
PropertyPage::Edits PropertyPage::take_edits() {
  Edits edits;
  for (const Field field : {kAddress, kCalling, kCalled}) {
    if (is_edited_[field]) edits.texts[field] = text_in(field);
  }
  if (is_edited_[kTime]) {
    LONG time = 0;
    std::wstring text = text_in(kTime);
    check(VarI4FromStr(text.data(), LOCALE_USER_DEFAULT, 0, &time));
    edits.time = time;
  }
  is_edited_ = {};
  return edits;
}

void PropertyPage::apply(const Edits& edits, _PlexumLink& link) {
  const auto put = [&](Field field, HRESULT (STDMETHODCALLTYPE _PlexumLink::*let)(BSTR)) {
    if (!edits.texts[field]) return;
    const windows::Bstr text(*edits.texts[field]);
    check((link.*let)(text.get()));
  };
  put(kAddress, &_PlexumLink::put_CP_IP);
  put(kCalling, &_PlexumLink::put_TsapE);
  put(kCalled, &_PlexumLink::put_TsapF);
  if (edits.time) check(link.put_Tzeit(*edits.time));
}

void PropertyPage::edited(int control) {
  const int field = control - kFirstField;
  if (is_filling_ || field < 0 || field >= static_cast<int>(kFieldCount)) return;
  is_edited_[static_cast<std::size_t>(field)] = true;
  if (site_) site_->OnStatusChange(PROPPAGESTATUS_DIRTY);
}

}  // namespace plexum::activex
