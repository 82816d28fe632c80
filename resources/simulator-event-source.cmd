@echo off
rem Registers the event source of the simulated printer, so that the Event Viewer shows its entries, or
rem removes it. Run it as an administrator. The message file, bkevtmsg.dll in the system folder, comes with
rem Tagwright: its installer puts it there, or its event-source.cmd.
rem     simulator-event-source.cmd register
rem     simulator-event-source.cmd remove
setlocal
set SOURCE=HKLM\SYSTEM\CurrentControlSet\Services\Eventlog\Application\Brennick Tagwright.Simulator
set MESSAGES=%SystemRoot%\System32\bkevtmsg.dll

if /i "%~1"=="register" goto register
if /i "%~1"=="remove" goto remove
echo Usage: %~nx0 register^|remove
exit /b 2

:register
reg add "%SOURCE%" /v EventMessageFile /t REG_SZ /d "%MESSAGES%" /f >nul
if errorlevel 1 goto failed
reg add "%SOURCE%" /v TypesSupported /t REG_DWORD /d 7 /f >nul
if errorlevel 1 goto failed
reg add "%SOURCE%" /v CategoryMessageFile /t REG_SZ /d "%MESSAGES%" /f >nul
if errorlevel 1 goto failed
reg add "%SOURCE%" /v CategoryCount /t REG_DWORD /d 2 /f >nul
if errorlevel 1 goto failed
echo Registered.
exit /b 0

:remove
reg delete "%SOURCE%" /f >nul
if errorlevel 1 goto failed
echo Removed.
exit /b 0

:failed
echo That did not work. Are you an administrator?
exit /b 1
