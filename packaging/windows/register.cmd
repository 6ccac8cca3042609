@echo off
rem register.cmd [user | anyway]
rem   Registers the control of this folder: for all users, which needs an administrator, or with
rem   "user" for the current user alone. For all users the folder must be below Program Files, or
rem   "anyway" says that only administrators may write into it. unregister.cmd takes it back.
"%~dp0registration.cmd" register %1
