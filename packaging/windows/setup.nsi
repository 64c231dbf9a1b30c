; SPDX-License-Identifier: MIT
;
; The setup for Windows: for the user who runs it, without administrator rights. make-installer calls it with
; VERSION, FILES (a folder that make-installer fills), SIZE_KB, HELPER, RESOURCES and OUTPUT. With QUICK it becomes
; larger, but is made in a moment.
;
; Options: /S                silent
;          /NOAUTOSTART      do not start the monitor when the user logs in
;          /REMOVESETTINGS   (uninstaller) remove the settings, too, without a question
;
; Exit codes, of setup and uninstaller:
!define EXIT_CANCELLED 1
!define EXIT_FAILED 2        ; nothing is changed
!define EXIT_IN_USE 3        ; nothing is changed
!define EXIT_HALF_DONE 4     ; what had been done could not be undone; the next setup does it
!define EXIT_OTHER_SETUP 5
; What the helper exits with.
!define HELPER_IN_USE 3
!define HELPER_HALF_DONE 4

; Links take their time to end: a monitor that has just started this setup is still there for a while.
!define SECONDS_BEFORE_QUESTION 10
!define SECONDS_BEFORE_END_IF_SILENT 15
; A virus scanner holds a file for a moment.
!define TRIES 5

!define PROGRAM "QorMonitor.exe"
!define SETTINGS_PARENT "Software\Varko"
!define SETTINGS "${SETTINGS_PARENT}\QorMonitor"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\QorMonitor"
!define RUN "Software\Microsoft\Windows\CurrentVersion\Run"
; Windows notes here that the user has switched an entry of the Run key off.
!define RUN_APPROVED "Software\Microsoft\Windows\CurrentVersion\Explorer\StartupApproved\Run"

Target amd64-unicode
!ifdef QUICK
  SetCompressor zlib
!else
  SetCompressor /SOLID lzma
  SetCompressorDictSize 32
!endif
RequestExecutionLevel user
ManifestDPIAware true
AllowSkipFiles off
CRCCheck on

!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include Sections.nsh

Name "QorMonitor ${VERSION}"
Caption "QorMonitor ${VERSION}"
BrandingText "Varko Anlagentechnik GmbH"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\QorMonitor"
InstallDirRegKey HKCU "${UNINSTALL}" "InstallLocation"

!getdllversion "${FILES}/${PROGRAM}" FILE_VERSION_
VIProductVersion "${FILE_VERSION_1}.${FILE_VERSION_2}.${FILE_VERSION_3}.${FILE_VERSION_4}"
VIAddVersionKey /LANG=0 "CompanyName" "Varko Anlagentechnik GmbH"
VIAddVersionKey /LANG=0 "FileDescription" "QorMonitor Setup"
VIAddVersionKey /LANG=0 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=0 "LegalCopyright" "© 2025-2026 The QorMonitor developers, MIT"
VIAddVersionKey /LANG=0 "ProductName" "QorMonitor"
VIAddVersionKey /LANG=0 "ProductVersion" "${VERSION}"

!define MUI_ICON "${RESOURCES}/qormonitor.ico"
!define MUI_UNICON "${RESOURCES}/qormonitor.ico"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${RESOURCES}/setup.bmp"
!define MUI_WELCOMEPAGE_TEXT "QorMonitor wird für Sie allein installiert; Administratorrechte sind nicht nötig.$\r$\n$\r$\nIst QorMonitor schon installiert, wird er durch die Version ${VERSION} ersetzt. Ihre Einstellungen und die Geräteliste bleiben erhalten.$\r$\n$\r$\n$_CLICK"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "QorMonitor starten"
!define MUI_FINISHPAGE_RUN_FUNCTION StartMonitor
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "German"

; "yes" once a running monitor has been ended by us: it must not be missing afterwards.
Var monitorEnded

; $0 is the exit code, $1 what the helper wrote.
!macro RunHelper ARGUMENTS
  nsExec::ExecToStack '"$PLUGINSDIR\setuphelper.exe" ${ARGUMENTS}'
  Pop $0
  Pop $1
!macroend
!define RunHelper "!insertmacro RunHelper"

; What setup and uninstaller share; NSIS wants the uninstaller's functions to have a name of their own.
!macro SharedFunctions UN
Function ${UN}OnlyOneSetup
  ; Two at a time would take each other's files away.
  System::Call 'kernel32::CreateMutexW(p 0, i 0, w "QorMonitorSetup") p .r0 ?e'
  Pop $1
  ${If} $1 = 183 ; ERROR_ALREADY_EXISTS
    MessageBox MB_OK|MB_ICONEXCLAMATION "Das Setup von QorMonitor läuft bereits." /SD IDOK
    SetErrorLevel ${EXIT_OTHER_SETUP}
    Quit
  ${EndIf}
FunctionEnd

Function ${UN}StartMonitor
  ; What a monitor starts, a browser for one, would hold the current folder: let it not be the program's.
  SetOutPath "$PROFILE"
  Exec '"$INSTDIR\${PROGRAM}"'
FunctionEnd

; Leaves everything as it was. An unfinished change of the helper stays, so that the next setup can undo it.
Function ${UN}CleanUp
  SetDetailsPrint none
  SetOutPath "$TEMP"
  RMDir /r "$INSTDIR\.setup\new"
  RMDir "$INSTDIR\.setup"
  RMDir "$INSTDIR"
  SetDetailsPrint both
  ${If} $monitorEnded == "yes"
    StrCpy $monitorEnded ""
    Call ${UN}StartMonitor
  ${EndIf}
FunctionEnd

; Ends with exit code $R0 and the text $R1.
Function ${UN}GiveUp
  Call ${UN}CleanUp
  SetErrorLevel $R0
  ${If} $R0 <> ${EXIT_CANCELLED}
    MessageBox MB_OK|MB_ICONSTOP "$R1" /SD IDOK
  ${EndIf}
  Abort "$R1"
FunctionEnd

; Returns once nobody runs the program any more, or gives up. Cancelling changes nothing.
Function ${UN}WaitForMonitor
  ${RunHelper} 'wait "$INSTDIR\${PROGRAM}" 0'
  ${If} $0 = 0
    Return
  ${EndIf}
  StrCpy $2 ${SECONDS_BEFORE_QUESTION}
  ${If} ${Silent}
    StrCpy $2 ${SECONDS_BEFORE_END_IF_SILENT}
  ${EndIf}
  ${Do}
    DetailPrint "Warte auf das Ende des laufenden QorMonitor ..."
    ${RunHelper} 'wait "$INSTDIR\${PROGRAM}" $2'
    ${If} $0 = 0
      Return
    ${EndIf}
    MessageBox MB_YESNOCANCEL|MB_ICONQUESTION "QorMonitor läuft noch. Soll er jetzt beendet werden?$\r$\n$\r$\nMit $\"Nein$\" wird weiter gewartet, mit $\"Abbrechen$\" bleibt alles, wie es war." /SD IDYES IDYES end IDNO wait
    StrCpy $R0 ${EXIT_CANCELLED}
    StrCpy $R1 "Abgebrochen, es wurde nichts geändert."
    Call ${UN}GiveUp
    end:
    ${RunHelper} 'end "$INSTDIR\${PROGRAM}"'
    ${If} $0 = 0
      StrCpy $monitorEnded "yes"
    ${EndIf}
    StrCpy $2 5
    ${RunHelper} 'wait "$INSTDIR\${PROGRAM}" $2'
    ${If} $0 = 0
      Return
    ${EndIf}
    StrCpy $1 "${PROGRAM}"
    Call ${UN}AskToRetry
    wait:
  ${Loop}
FunctionEnd

; The file $1 is in use. Returns if the user wants to try again, or gives up.
Function ${UN}AskToRetry
  StrCpy $R1 "Die Datei $1 wird von einem anderen Programm benutzt. Es wurde nichts geändert."
  MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "Die Datei $1 wird von einem anderen Programm benutzt." /SD IDCANCEL IDRETRY again
  StrCpy $R0 ${EXIT_CANCELLED}
  ${If} ${Silent}
    StrCpy $R0 ${EXIT_IN_USE}
  ${EndIf}
  Call ${UN}GiveUp
  again:
FunctionEnd

; Lets the helper change the files, as the arguments $3 say, or gives up.
Function ${UN}ChangeFiles
  StrCpy $4 0
  ${Do}
    Call ${UN}WaitForMonitor
    ${RunHelper} $3
    ${If} $0 = 0
      Return
    ${EndIf}
    ${If} $0 = ${HELPER_IN_USE}
      IntOp $4 $4 + 1
      ${If} $4 < ${TRIES}
        Sleep 1000
      ${Else}
        Call ${UN}AskToRetry
      ${EndIf}
    ${Else}
      StrCpy $R0 ${EXIT_FAILED}
      StrCpy $R1 "Die Datei $1 konnte nicht ersetzt werden. Es wurde nichts geändert."
      ${If} $0 = ${HELPER_HALF_DONE}
        StrCpy $R0 ${EXIT_HALF_DONE}
        StrCpy $R1 "Die Datei $1 konnte nicht ersetzt werden. Bitte führen Sie das Setup noch einmal aus."
      ${EndIf}
      Call ${UN}GiveUp
    ${EndIf}
  ${Loop}
FunctionEnd
!macroend
!insertmacro SharedFunctions ""
!insertmacro SharedFunctions "un."

Section "QorMonitor" SectionProgram
  SectionIn RO
  InitPluginsDir
  File "/oname=$PLUGINSDIR\setuphelper.exe" "${HELPER}"

  ; Beside the installed files first; nothing of these is touched before all new ones are there.
  RMDir /r "$INSTDIR\.setup\new"
  ClearErrors
  !include "${FILES}/../files.nsh"
  WriteUninstaller "$INSTDIR\.setup\new\Uninstall.exe"
  SetOutPath "$TEMP"
  ${If} ${Errors}
    StrCpy $R0 ${EXIT_FAILED}
    StrCpy $R1 "Die neuen Dateien konnten nicht geschrieben werden. Es wurde nichts geändert."
    Call GiveUp
  ${EndIf}
  StrCpy $3 'replace "$INSTDIR"'
  Call ChangeFiles

  ; The folder in which the shortcut starts the monitor: see StartMonitor.
  SetOutPath "$PROFILE"
  CreateShortcut "$SMPROGRAMS\QorMonitor.lnk" "$INSTDIR\${PROGRAM}" "" "$INSTDIR\${PROGRAM}" 0 SW_SHOWNORMAL "" "Überwacht Geräte der Reihe QORweb II"
  ; Where the update check reads which version is installed.
  WriteRegStr HKCU "${SETTINGS}" "VersionNo" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayName" "QorMonitor"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL}" "Publisher" "Varko Anlagentechnik GmbH"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayIcon" "$INSTDIR\${PROGRAM},0"
  WriteRegStr HKCU "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL}" "EstimatedSize" ${SIZE_KB}
  WriteRegDWORD HKCU "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL}" "NoRepair" 1
  ; Written again by the next section, if it is wanted.
  DeleteRegValue HKCU "${RUN}" "QorMonitor"
SectionEnd

Section "Beim Anmelden starten" SectionAutostart
  WriteRegStr HKCU "${RUN}" "QorMonitor" '"$INSTDIR\${PROGRAM}"'
SectionEnd

Section "-Start"
  ${If} ${Silent}
  ${AndIf} $monitorEnded == "yes"
    Call StartMonitor
  ${EndIf}
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionProgram} "Das Programm, seine Bibliotheken und deren Lizenzen."
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionAutostart} "Startet QorMonitor, sobald Sie sich anmelden."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

Function .onInit
  Call OnlyOneSetup

  ; Whoever had it switched off keeps it so.
  ReadRegStr $0 HKCU "${UNINSTALL}" "UninstallString"
  ReadRegStr $1 HKCU "${RUN}" "QorMonitor"
  ${If} $0 != ""
  ${AndIf} $1 == ""
    !insertmacro UnselectSection ${SectionAutostart}
  ${EndIf}
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/NOAUTOSTART" $1
  ${IfNot} ${Errors}
    !insertmacro UnselectSection ${SectionAutostart}
  ${EndIf}
FunctionEnd

Function .onInstFailed
  Call CleanUp
FunctionEnd

Section "Uninstall"
  InitPluginsDir
  File "/oname=$PLUGINSDIR\setuphelper.exe" "${HELPER}"
  File "/oname=$PLUGINSDIR\installed-files.txt" "${FILES}/installed-files.txt"

  StrCpy $5 "yes"
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/REMOVESETTINGS" $1
  ${If} ${Errors}
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "Sollen auch die Einstellungen und die Geräteliste gelöscht werden?" /SD IDNO IDYES remove
    StrCpy $5 "no"
    remove:
  ${EndIf}

  SetOutPath "$TEMP"
  StrCpy $3 'remove "$INSTDIR" "$PLUGINSDIR\installed-files.txt"'
  Call un.ChangeFiles
  RMDir "$INSTDIR"

  Delete "$SMPROGRAMS\QorMonitor.lnk"
  DeleteRegKey HKCU "${UNINSTALL}"
  DeleteRegValue HKCU "${RUN}" "QorMonitor"
  DeleteRegValue HKCU "${RUN_APPROVED}" "QorMonitor"
  ${If} $5 == "yes"
    DeleteRegKey HKCU "${SETTINGS}"
  ${Else}
    DeleteRegValue HKCU "${SETTINGS}" "VersionNo"
    DeleteRegKey /ifempty HKCU "${SETTINGS}"
  ${EndIf}
  DeleteRegKey /ifempty HKCU "${SETTINGS_PARENT}"
SectionEnd

Function un.onInit
  Call un.OnlyOneSetup
FunctionEnd

Function un.onUninstFailed
  Call un.CleanUp
FunctionEnd

; NSIS asks Windows to remove the copy that the uninstaller works from with the next start, which Windows grants
; to administrators alone. So an unseen command prompt does it, as soon as that copy has ended.
Function un.onUninstSuccess
  ${GetFileName} "$EXEDIR" $0
  StrCpy $0 $0 4
  ${If} $0 == "~nsu"
    SetOutPath "$TEMP"
    ExecShell "open" "$SYSDIR\cmd.exe" '/c for /l %i in (1,1,10) do (ping -n 2 127.0.0.1 >nul & rd /s /q "$EXEDIR")' SW_HIDE
  ${EndIf}
FunctionEnd
