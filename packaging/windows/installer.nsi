; PlexumLink's installer: both bitnesses of the control, registered for all users or for one, the
; command line, documents and samples. packaging/installer.py runs makensis on it with
;   VERSION     as 0.1.0
;   FILES       a script with the macros InstallCommon, Install64 and UninstallFiles
;   LICENCE     the licence text
;   SIZE        what it installs, in KB
;   OUTPUT      the installer to make
;   SIGN        (optional) the command that signs a file
;
; Users' options: /S silent, /AllUsers or /CurrentUser, /D=FOLDER (the last one). Exit codes: 0
; done, 1 cancelled, 2 failed.
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true

!define PRODUCT PlexumLink
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${PRODUCT}"

!define MULTIUSER_MUI
!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR ${PRODUCT}
!define MULTIUSER_USE_PROGRAMFILES64
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_KEY "${UNINSTALL_KEY}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_VALUENAME InstallLocation
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_KEY "${UNINSTALL_KEY}"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_VALUENAME InstallLocation
!include MultiUser.nsh
!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include x64.nsh
!include "${FILES}"

Name "${PRODUCT} ${VERSION}"
OutFile "${OUTPUT}"
BrandingText " "
ShowInstDetails nevershow
ShowUninstDetails nevershow
VIProductVersion "${VERSION}.0"
VIFileVersion "${VERSION}.0"
VIAddVersionKey CompanyName "Plexum"
VIAddVersionKey FileDescription "${PRODUCT} installer"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey LegalCopyright "Plexum maintainers, MIT licence"
VIAddVersionKey ProductName "Plexum"
VIAddVersionKey ProductVersion "${VERSION}"
!ifdef SIGN
  !uninstfinalize '${SIGN} "%1"'
!endif

!define MUI_ABORTWARNING
!insertmacro MUI_PAGE_LICENSE "${LICENCE}"
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; A silent run waits for nobody: it ends with 2.
!macro FailWith TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel 2
  Abort "${TEXT}"
!macroend

; Registers (ACTION empty) or unregisters (/u) the control in its folder, by the system's tool of
; its own bitness.
!macro Regsvr32 TOOL ACTION FOLDER
  ${If} $MultiUser.InstallMode == CurrentUser
    StrCpy $1 "/n /i:user"
  ${Else}
    StrCpy $1 ""
  ${EndIf}
  ClearErrors
  ExecWait '"${TOOL}" /s ${ACTION} $1 "$INSTDIR\${FOLDER}\PlexumLink.ocx"' $0
  ${If} ${Errors}
  ${OrIf} $0 != 0
    !if "${ACTION}" == ""
      !insertmacro FailWith "The control in $INSTDIR\${FOLDER} could not be registered."
    !endif
  ${EndIf}
!macroend

!macro RegisterBoth ACTION
  ${If} ${IsNativeAMD64}
    ${DisableX64FSRedirection}
    !insertmacro Regsvr32 "$WINDIR\System32\regsvr32.exe" "${ACTION}" x64
    ${EnableX64FSRedirection}
  ${EndIf}
  ; To a 32-bit program as this one that is the 32-bit tool, whatever the system.
  !insertmacro Regsvr32 "$SYSDIR\regsvr32.exe" "${ACTION}" x86
!macroend

!macro RegistryOfTheSystem
  ${If} ${RunningX64}
    SetRegView 64
  ${EndIf}
!macroend

Function .onInit
  !insertmacro RegistryOfTheSystem
  StrCpy $9 $INSTDIR ; from /D=, or empty
  UserInfo::GetAccountType
  Pop $0
  ${GetParameters} $1
  ClearErrors
  ${GetOptions} $1 "/AllUsers" $2
  ${IfNot} ${Errors}
  ${AndIf} ${Silent}
  ${AndIf} $0 != Admin
    SetErrorLevel 2
    Quit
  ${EndIf}
  !insertmacro MULTIUSER_INIT
  ${If} $9 != ""
    StrCpy $INSTDIR $9
  ${EndIf}
FunctionEnd

; The version that is there goes first, by its own uninstaller, which knows its files.
Function RemoveInstalled
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" InstallLocation
  ${If} $0 == ""
  ${OrIfNot} ${FileExists} "$0\uninstall.exe"
    Return
  ${EndIf}
  ClearErrors
  ExecWait '"$0\uninstall.exe" /S /$MultiUser.InstallMode _?=$0' $1
  ${If} ${Errors}
  ${OrIf} $1 != 0
    !insertmacro FailWith "The version in $0 could not be removed."
  ${EndIf}
  Delete "$0\uninstall.exe"
  RMDir "$0"
FunctionEnd

Section
  Call RemoveInstalled
  !insertmacro InstallCommon
  ${If} ${IsNativeAMD64}
    !insertmacro Install64
  ${EndIf}
  SetOutPath $INSTDIR
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayName "${PRODUCT}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayVersion "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayIcon "$INSTDIR\uninstall.exe"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" Publisher "Plexum"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" InstallLocation "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" UninstallString \
      '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" QuietUninstallString \
      '"$INSTDIR\uninstall.exe" /S /$MultiUser.InstallMode'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" EstimatedSize ${SIZE}
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" NoModify 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" NoRepair 1
  !insertmacro RegisterBoth ""
  CreateDirectory "$SMPROGRAMS\${PRODUCT}"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\${PRODUCT} documents.lnk" "$INSTDIR\PlexumLink.html"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\${PRODUCT} samples.lnk" "$INSTDIR\examples"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\Plexum command line.lnk" "$WINDIR\System32\cmd.exe" \
      '/k "set PATH=$INSTDIR;%PATH%& plexum --help"'
SectionEnd

Function un.onInit
  !insertmacro RegistryOfTheSystem
  !insertmacro MULTIUSER_UNINIT
FunctionEnd

; Removes the file on the stack. One that a program has loaded can't be deleted, but it can be
; renamed: out of the way, so that the folder goes and an upgrade finds its place free, and deleted
; when Windows starts the next time.
Function un.Remove
  Exch $0
  Delete "$0"
  ${If} ${FileExists} "$0"
    StrCpy $2 $TEMP
    StrCpy $3 $TEMP 2
    StrCpy $4 $INSTDIR 2
    ${If} $3 != $4 ; another drive, to which a rename doesn't lead
      StrCpy $2 $INSTDIR
    ${EndIf}
    GetTempFileName $1 $2
    Delete "$1"
    ClearErrors
    Rename "$0" "$1"
    ${If} ${Errors}
      !insertmacro FailWith "$0 is in use. Close the programs that use it, and try again."
    ${EndIf}
    Delete /REBOOTOK "$1"
  ${EndIf}
  Pop $0
FunctionEnd

Section Uninstall
  !insertmacro RegisterBoth /u
  !insertmacro UninstallFiles
  Delete "$INSTDIR\uninstall.exe"
  Delete "$SMPROGRAMS\${PRODUCT}\${PRODUCT} documents.lnk"
  Delete "$SMPROGRAMS\${PRODUCT}\${PRODUCT} samples.lnk"
  Delete "$SMPROGRAMS\${PRODUCT}\Plexum command line.lnk"
  RMDir "$SMPROGRAMS\${PRODUCT}"
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  SetOutPath $TEMP ; not the folder that is to go
  ${If} ${RebootFlag}
    RMDir /REBOOTOK "$INSTDIR"
  ${Else}
    RMDir "$INSTDIR"
  ${EndIf}
SectionEnd
