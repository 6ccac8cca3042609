@echo off
rem Called by register.cmd and unregister.cmd: runs the system's regsvr32 over each bitness of the
rem control that this Windows can load.
set scope=
if "%~1"=="" goto known
set scope=/n /i:user
if /i "%~1"=="user" goto known
echo usage: register.cmd [user], unregister.cmd [user]
exit /b 2

:known
set system64=%SystemRoot%\System32
set system32=%SystemRoot%\SysWOW64
rem A 32-bit command prompt sees the 64-bit folder under this name.
if exist "%SystemRoot%\Sysnative\regsvr32.exe" set system64=%SystemRoot%\Sysnative
rem A Windows for ARM has no 64-bit tool that could load the file.
if /i "%PROCESSOR_ARCHITECTURE%"=="ARM64" goto only32
if /i "%PROCESSOR_ARCHITEW6432%"=="ARM64" goto only32
if exist "%system32%\regsvr32.exe" goto both
set system32=%SystemRoot%\System32
goto only32

:both
"%system64%\regsvr32.exe" /s %action% %scope% "%~dp0x64\PlexumLink.ocx"
if errorlevel 1 goto failed
:only32
"%system32%\regsvr32.exe" /s %action% %scope% "%~dp0x86\PlexumLink.ocx"
if errorlevel 1 goto failed
echo PlexumLink is %done%.
exit /b 0

:failed
echo PlexumLink could not be %done%. Start the command prompt as administrator, or give the
echo argument "user" to register it for yourself alone.
exit /b 1
