@echo off
rem registered.cmd
rem   Shows which files are registered as the control.
"%~dp0registration.cmd" show
