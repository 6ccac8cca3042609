@echo off
rem unregister.cmd [user]
rem   Takes back what register.cmd did: for all users, or with "user" for the current user alone. The
rem   folder can be deleted afterwards.
"%~dp0registration.cmd" unregister %1
