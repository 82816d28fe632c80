@echo off
rem Registers the event sources of Tagwright and installs their message file, or removes both.
rem Run it as an administrator from the folder that holds bkevtmsg.dll.
rem     event-source.cmd register
rem     event-source.cmd remove
setlocal
set LOG=HKLM\SYSTEM\CurrentControlSet\Services\Eventlog\Application
set MESSAGES=%SystemRoot%\System32\bkevtmsg.dll
set PROGRAM=Brennick Tagwright.Native
set COMPONENT=Brennick Tagwright.Managed

if /i "%~1"=="register" goto register
if /i "%~1"=="remove" goto remove
echo Usage: %~nx0 register^|remove
exit /b 2

:register
copy /y "%~dp0bkevtmsg.dll" "%MESSAGES%" >nul
if errorlevel 1 goto failed
call :add_source "%LOG%\%PROGRAM%"
if errorlevel 1 goto failed
call :add_source "%LOG%\%COMPONENT%"
if errorlevel 1 goto failed
echo Registered.
exit /b 0

:remove
reg delete "%LOG%\%PROGRAM%" /f >nul
if errorlevel 1 goto failed
reg delete "%LOG%\%COMPONENT%" /f >nul
if errorlevel 1 goto failed
del /f "%MESSAGES%"
if exist "%MESSAGES%" goto failed
echo Removed.
exit /b 0

:add_source
reg add "%~1" /v EventMessageFile /t REG_SZ /d "%MESSAGES%" /f >nul
if errorlevel 1 exit /b 1
reg add "%~1" /v TypesSupported /t REG_DWORD /d 7 /f >nul
if errorlevel 1 exit /b 1
reg add "%~1" /v CategoryMessageFile /t REG_SZ /d "%MESSAGES%" /f >nul
if errorlevel 1 exit /b 1
reg add "%~1" /v CategoryCount /t REG_DWORD /d 2 /f >nul
exit /b %errorlevel%

:failed
echo That did not work. Are you an administrator, and is Event Viewer closed?
exit /b 1
