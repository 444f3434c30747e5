@echo off
rem The sample application for the other platform; never installed on Linux.
echo Sample application
