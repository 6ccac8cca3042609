@echo off
rem unregister.cmd [user]
rem   Takes back what register.cmd did with the same argument. The folder can be deleted afterwards.
setlocal
set action=/u
set done=unregistered
call "%~dp0regsvr32.cmd" %1
exit /b %errorlevel%
