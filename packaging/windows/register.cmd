@echo off
rem register.cmd [user]
rem   Registers the control of this folder: for all users, which needs an administrator, or with
rem   "user" for the current user alone. unregister.cmd takes it back.
setlocal
set action=
set done=registered
call "%~dp0regsvr32.cmd" %1
exit /b %errorlevel%
