@echo off
rem What register.cmd, unregister.cmd and registered.cmd have in common. Each bitness of the control
rem that this Windows can load is registered by the system's regsvr32 of that bitness.
setlocal
set system64=%SystemRoot%\System32
set system32=%SystemRoot%\SysWOW64
rem A 32-bit command prompt sees the 64-bit folder under this name.
if exist "%SystemRoot%\Sysnative\regsvr32.exe" set system64=%SystemRoot%\Sysnative
if "%1 %2"=="register " goto all
if "%1 %2"=="register anyway" goto trusted
if "%1 %2"=="register user" goto user
if "%1 %2"=="unregister " goto take_back
if "%1 %2"=="unregister user" goto take_back_user
if "%1 %2"=="show " goto show
echo usage: register.cmd [user or anyway], unregister.cmd [user], registered.cmd
exit /b 2

:all
rem Who can replace the file decides what the programs of all users run.
set "folder=%~dp0."
:climb
set "below=%folder%"
for %%d in ("%below%\..") do set "folder=%%~fd"
if /i "%folder%"=="%ProgramFiles%" goto trusted
if /i "%folder%"=="%ProgramW6432%" goto trusted
if /i "%folder%"=="%ProgramFiles(x86)%" goto trusted
if not "%folder%"=="%below%" goto climb
echo Not registered. This folder isn't below Program Files. If ordinary users may write into it,
echo they decide what the programs of all users run, also of administrators. Move it there, use the
echo installer, or let only administrators write into it and give the argument "anyway".
exit /b 1

:trusted
set options=/s
goto run
:user
set options=/s /n /i:user
goto run
:take_back
set options=/s /u
goto run
:take_back_user
set options=/s /u /n /i:user

:run
rem A Windows for ARM has no 64-bit tool that could load the file.
if /i "%PROCESSOR_ARCHITECTURE%"=="ARM64" goto only32
if /i "%PROCESSOR_ARCHITEW6432%"=="ARM64" goto only32
if exist "%system32%\regsvr32.exe" goto both
set system32=%SystemRoot%\System32
goto only32

:both
"%system64%\regsvr32.exe" %options% "%~dp0x64\PlexumLink.ocx"
if errorlevel 1 goto failed
:only32
"%system32%\regsvr32.exe" %options% "%~dp0x86\PlexumLink.ocx"
if errorlevel 1 goto failed
echo Done: %1 %2

:show
set key=Software\Classes\CLSID\{64643F6A-8FA8-46F5-84E0-D4FE4F73595C}\InprocServer32
for %%b in (64 32) do (
  echo %%b-bit, of this user alone; it hides the one for all users:
  "%SystemRoot%\System32\reg.exe" query HKCU\%key% /ve /reg:%%b 2>nul
  if errorlevel 1 echo     none
  echo %%b-bit, for all users:
  "%SystemRoot%\System32\reg.exe" query HKLM\%key% /ve /reg:%%b 2>nul
  if errorlevel 1 echo     none
)
exit /b 0

:failed
echo Failed: %1 %2. Start the command prompt as administrator, or give the argument "user" to do it
echo for yourself alone.
exit /b 1
