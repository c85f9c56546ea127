@echo off
rem Runs every test that this PC can run, and leaves check-report.txt. The programs are started by those of the PC's own
rem architecture; which others it runs, they find out.
setlocal
pushd "%~dp0"
set machine=%PROCESSOR_ARCHITEW6432%
if "%machine%"=="" set machine=%PROCESSOR_ARCHITECTURE%
set programs=x86
if /i "%machine%"=="AMD64" set programs=x64
if /i "%machine%"=="ARM64" set programs=arm64
if exist %programs%\scan_demo.exe goto check
echo Unpack the whole zip into a folder of yours first, and start check.cmd from there.
set result=1
goto end
:check
%programs%\scan_demo.exe --check .
set result=%errorlevel%
echo The report is check-report.txt in this folder; please send it back with the folder check-pictures.
:end
popd
pause
exit /b %result%
