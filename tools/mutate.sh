#!/usr/bin/env bash
# Mutation check: applies each realistic single fault of the list below to the
# tree, one at a time, rebuilds the targets that cover it in build/, runs
# their tests (stopping at the first failure), and counts
# the faults the tests catch (killed) and those they miss (survived). Not part
# of CI (it takes many minutes). The tree is restored after each fault, also
# when the script is interrupted.
#
#   tools/mutate.sh            every fault
#   tools/mutate.sh PATTERN    the faults whose name contains PATTERN
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build"
pattern=${1:-}
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=true
[[ -f "$build/CMakeCache.txt" ]] || "$root/tools/configure.sh" "$build"

# file ~ exact text (once in the file; <NL> for a line break) ~ replacement ~ name
# ~ the targets that cover it: only they are built, and their tests run
mutants=$(cat <<'LIST'
driver/CArchive.cpp~    if (length < 0xFF) {~    if (length <= 0xFF) {~archive: one-byte string length bound~tst_CArchive tst_CDriverFile tst_DriverRecords
driver/CArchive.cpp~        if (length < 0xFFFE) {~        if (length < 0xFFFF) {~archive: 16-bit string length bound~tst_CArchive tst_CDriverFile tst_DriverRecords
driver/CArchive.cpp~    if (count < 0xFFFF) {~    if (count <= 0xFFFF) {~archive: 16-bit count bound~tst_CArchive tst_CDriverFile tst_DriverRecords
driver/CScriptCommand.cpp~        if (byte == ' ') {~        if (byte == ' ' || byte == '\t') {~script: ChangeSpaces takes tabs for spaces~tst_ScriptCommand tst_ReceivePipeline
driver/CScriptCommand.cpp~    return First(s, position) + Last(s, qint64(s.size()) - position - count);~    return First(s, position) + Last(s, qint64(s.size()) - position - count + 1);~script: RemoveCharacters off by one~tst_ScriptCommand tst_ReceivePipeline
driver/CScriptCommand.cpp~    if (position < 0 || position >= s.size())~    if (position < 0 || position > s.size())~script: ChangeCharacter bound~tst_ScriptCommand tst_ReceivePipeline
driver/CParse.cpp~        if (value < 32) {~        if (value <= 32) {~control codes: space encoded~tst_ScriptCommand tst_CommandSender
driver/CControlCode.cpp~    for (int code = 0; code < Count; ++code) {~    for (int code = 0; code < Count - 1; ++code) {~control codes: last name not found~tst_ScriptCommand tst_CommandSender
comm/CSerialNumberRecord.cpp~    record += Hex(quint32(0xFF - sum % 256), 2);~    record += Hex(quint32(0xFF - sum % 255), 2);~serial record: checksum~tst_CommandSender
comm/CTransferProgress.cpp~    if (m_nTotal <= 0)~    if (m_nTotal < 0)~progress: empty file~tst_CommandSender
comm/CCommandSender.cpp~    if (serial < 0 || (file >= 0 && file < serial))~    if (serial < 0 || (file >= 0 && file > serial))~sender: first macro wins~tst_CommandSender tst_CSerialNumberDlg
comm/CCommandSender.cpp~    if (*number < CSerialNumberRecord::MinSerialNumber || *number > CSerialNumberRecord::MaxSerialNumber) {~    if (*number < CSerialNumberRecord::MinSerialNumber || *number >= CSerialNumberRecord::MaxSerialNumber) {~sender: serial number upper bound~tst_CommandSender tst_CSerialNumberDlg
comm/CCommandSender.cpp~    while (!m_bSending && !m_queue.empty()) {~    while (!m_queue.empty()) {~sender: queue drained during a transfer~tst_CommandSender tst_CSerialNumberDlg
comm/CPlaybackFile.cpp~    if (line.startsWith('D')) {~    if (line.startsWith('d')) {~playback: delay lines~tst_CommandSender tst_ReceivePipeline
comm/CPlaybackFile.cpp~        value = qMin(Max, value * 10 + quint64(line.at(p) - '0'));~        value = qMin(Max, value * 10 + quint64(line.at(p) - '1'));~playback: delay digits~tst_CommandSender tst_ReceivePipeline
comm/CDeviceControlBlock.cpp~    else if (parameters.m_nStopBits == 2)~    else if (parameters.m_nStopBits == 3)~line settings: two stop bits~tst_LineSettings tst_CommChannel tst_UsbConverter
comm/CComm.cpp~        if (result == CCommPort::TimedOut && stop && *stop)~        if (result == CCommPort::TimedOut && stop)~channel: stopped transfer on a slow line~tst_CommandSender tst_CommChannel
comm/CFileTransfer.cpp~            if (m_bStop || block.size() != BlockSize)~            if (block.size() != BlockSize)~transfer: stop flag ignored~tst_CommandSender tst_InstrumentWindow tst_cli orvalis-cli
instrument/CDisplayText.cpp~        if (byte == '\n' && afterCR)~        if (byte == '\n')~display: lone line feed dropped~tst_TextTools tst_InstrumentWindow
instrument/CDisplayText.cpp~        if (value - 0x80u < 0x20u)~        if (value - 0x80u < 0x1Fu)~display: code page boundary 0x9F~tst_TextTools tst_InstrumentWindow
instrument/CCommByteSource.h~        m_nLeft = PassBudget;~        m_nLeft = m_nLeft;~capture: pass budget never renewed~tst_capture orvalis-cli
instrument/CReceivePipeline.cpp~        if (c == m_nEndChar)<NL>            return;~        if (c == m_nStartChar)<NL>            return;~pipeline: end byte between strings~tst_ReceivePipeline tst_ExcelOutput
instrument/CReceivePipeline.cpp~        if (out.isEmpty())<NL>            return;~        if (out.isEmpty() && false)<NL>            return;~pipeline: empty script result shown~tst_ReceivePipeline tst_ExcelOutput
instrument/CReceivePipeline.cpp~    if (index >= sequences.size() || !sequences.at(index))~    if (index > sequences.size() || !sequences.at(index))~pipeline: missing sequence bound~tst_ReceivePipeline tst_ExcelOutput
driver/CFileReplacer.cpp~    if (tail == Tail::Keep && exists && old.st_size > bytes.size()) {~    if (tail == Tail::Drop && exists && old.st_size > bytes.size()) {~files: tail of a longer old file~tst_FileReplacer slow-driver-writer tst_CDriverFile tst_capture orvalis-cli
driver/CFileReplacer.cpp~    const bool written = WriteAll(fd, content, offset) && ::fsync(fd) == 0;~    const bool written = WriteAll(fd, content, offset) || ::fsync(fd) == 0;~files: failed write renamed over the old file~tst_FileReplacer slow-driver-writer tst_CDriverFile tst_capture orvalis-cli
driver/CFileReplacer.cpp~        ::fchmod(fd, old.st_mode & 07777);~        ::fchmod(fd, 0600);~files: mode not kept~tst_FileReplacer slow-driver-writer tst_CDriverFile tst_capture orvalis-cli
driver/CFileReplacer.cpp~    if (error == ENOSPC)~    if (error == EIO)~files: disk full words~tst_FileReplacer slow-driver-writer tst_CDriverFile tst_capture orvalis-cli
driver/CRegularFile.cpp~    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || S_ISREG(info.st_mode))~    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISDIR(info.st_mode))~files: FIFO accepted~tst_FileReplacer tst_capture tst_cli orvalis-cli
tools/cli/CCaptureReader.cpp~        if (!block.isEmpty() || m_file.atEnd() || !m_strDamage.isEmpty())~        if (true)~replay: empty block ends the replay~tst_capture tst_cli orvalis-cli
tools/cli/CReplayCommand.cpp~    if (!reader.Damage().isEmpty()) {~    if (false) {~replay: damage exits 0~tst_capture tst_cli orvalis-cli
tools/cli/CShowCommand.cpp~    if (bytes.size() <= ShownBytes)~    if (bytes.size() <= ShownBytes * 1000000)~show: long field unbounded~tst_capture tst_cli orvalis-cli
terminal/CTerminalScreen.cpp~    if (int(m_scrollback.size()) >= m_nScrollbackCapacity) {~    if (int(m_scrollback.size()) > m_nScrollbackCapacity) {~terminal: scroll-back one line over its bound~tst_TerminalScreen tst_TerminalWindow tst_cli_screen orvalis-cli
terminal/CVt52Interpreter.cpp~    case 'I': screen += "\x1bM"; return;~    case 'I': screen += "\x1bD"; return;~terminal: VT52 reverse line feed goes down~tst_TerminalScreen tst_TerminalWindow tst_cli_screen orvalis-cli
terminal/CVt52Interpreter.cpp~    if (m_nRow < 0 || m_nRow >= m_nRows) {~    if (m_nRow < 0 || m_nRow > m_nRows) {~terminal: VT52 address one row below the screen~tst_TerminalScreen tst_TerminalWindow tst_cli_screen orvalis-cli
terminal/CTtyInterpreter.cpp~    if (codePoint < 0xA0 && codePoint >= 0x80)~    if (codePoint < 0x90 && codePoint >= 0x80)~terminal: None C1 range cut short~tst_TerminalScreen tst_TerminalWindow tst_cli_screen orvalis-cli
terminal/CCsiGuard.cpp~            return ++m_nSeparators <= MaxSeparators;~            return ++m_nSeparators < MaxSeparators;~terminal: CSI guard one separator short~tst_TerminalScreen tst_TerminalWindow tst_cli_screen orvalis-cli
comm/CComm.cpp~    m_pPort->SetDtr(true);<NL>    m_bDtrRaised = true;~    m_bDtrRaised = true;~channel: DTR not raised on open~tst_ModemLines tst_UsbConverter tst_CommChannel
comm/CSerialPort.cpp~    SetDtr(false);<NL>    ioctl(m_fd, TCFLSH, TCIOFLUSH);~    ioctl(m_fd, TCFLSH, TCIOFLUSH);~serial port: DTR left up at close~tst_ModemLines
comm/CComm.cpp~        room = InputBufferLimit - m_input.size();~        room = 4 * InputBufferLimit - m_input.size();~channel: reader buffer over its bound~tst_CommChannel tst_UsbConverter
comm/CComm.cpp~    m_input.remove(0, m_strInput.size());~~channel: bytes handed over stay in the buffer~tst_CommChannel tst_UsbConverter
comm/CComm.cpp~    if (!m_bAcknowledged || !m_bBuffered || m_bStopping)~    if (!m_bBuffered || m_bStopping)~channel: next notification before the acknowledge~tst_CommChannel tst_UsbConverter
instrument/ui/COrvalisView.cpp~    sheet.m_pScriptPage->SaveTo(m_script);~~options: script page not stored~tst_InstrumentWindow
instrument/ui/COrvalisView.cpp~    sheet.m_pCommPage->GetParameters(m_commParam);~~options: line settings not stored~tst_InstrumentWindow
instrument/ui/COrvalisView.cpp~    sheet.m_pFunctionKeysPage->SaveTo(m_functionKeys);~~options: function keys not stored~tst_InstrumentWindow
instrument/ui/COrvalisView.cpp~    app->m_nInstrumentOptionsPage = sheet.m_nLastActivePage;~~options: start page forgotten~tst_InstrumentWindow
app/CMainFrame.cpp~    // A new instrument window is an empty text, not a connection.<NL>    app->m_bConnectRequested = 0;~~File New: new window tries to connect~tst_InstrumentWindow
app/CWindowRect.cpp~    if (width > 0 && height > 0 && width <= INT_MAX && height <= INT_MAX)~    if (width >= 0 && height > 0 && width <= INT_MAX && height <= INT_MAX)~window rectangle: zero width kept~tst_MainFrame tst_ShellRules
app/CCommandLine.cpp~            if (rest == QLatin1String("minimize"))~            if (rest != QLatin1String("minimize"))~command line: /Sminimize~tst_ShellRules tst_MainFrame
res/ui/CPropSheet.cpp~    SelectQuietly(m_pages.size() - 1 == m_nStartPage ? m_nStartPage : m_pTabs->currentIndex());~    SelectQuietly(m_pages.size() == m_nStartPage ? m_nStartPage : m_pTabs->currentIndex());~sheet: start page never selected~tst_Pages tst_InstrumentWindow tst_DriverCommands
app/CMainFrame.cpp~        const QRect normal = normalGeometry();~        const QRect normal = geometry();~main window: maximised rectangle kept~tst_MainFrame tst_ShellRules
comm/CLineReconnector.cpp~    m_watch.Stop();<NL>    Q_EMIT reconnected~    Q_EMIT reconnected~reconnect: still waiting after the line is back~tst_UsbConverter tst_InstrumentWindowTools
instrument/CTimeStampColumn.cpp~m_bRowStamped ? column + 1 : column~column~time stamp column: stamp written over the first cell~tst_ExcelOutput
instrument/CLineStamper.cpp~    const qsizetype endLength = m_bNames ? 4 : 1;~    const qsizetype endLength = 1;~time stamps: shown line-end names taken as one byte~tst_TextTools tst_InstrumentWindowTools
tools/cli/CCaptureCommand.cpp~            reconnector.Start(driver.m_Comm);<NL>~~capture: --reconnect never starts waiting~tst_capture orvalis-cli
terminal/CCsiGuard.cpp~        if (byte == '[')<NL>            StartCsi();~        if (byte == '[' || byte == Csi8Bit)<NL>            StartCsi();~terminal: CSI guard opens a sequence at an 8-bit CSI inside an escape~tst_TerminalScreen
comm/CLineSettingsText.cpp~    if (connector.size() <= ShortConnectorLength)~    if (connector.size() < ShortConnectorLength)~line pane: connector of the longest length shortened~tst_LineSettings
instrument/ui/COrvalisView.cpp~    m_pScrollBarGap->setFixedHeight(panesHeight);<NL>~~window panes: the text's scroll bar runs under the command line~tst_InstrumentWindowTools
app/CMainFrame.cpp~    m_panes[PaneMessage]->setMinimumWidth(m_panes[PaneMessage]->sizeHint().width());~    m_panes[PaneMessage]->setMinimumWidth(1);~status bar: the idle prompt cut on a narrow window~tst_InstrumentWindowTools
comm/CMqttPublisher.cpp~        m_nCursor = m_journal.Head();~        m_nCursor = qMax(m_nCursor, m_journal.Head());~mqtt: readings in flight not sent again after a reconnect~tst_MqttPublisher
comm/CMqttJournal.cpp~    while (m_nCount > m_nMaxMessages) {~    while (m_nCount > m_nMaxMessages + 1) {~mqtt: journal one message over its limit~tst_MqttJournal tst_MqttPublisher
comm/CMqttJournal.cpp~    m_nEnd = offset;<NL>~<NL>~mqtt: journal end kept after cutting off a damaged message~tst_MqttJournal tst_MqttPublisher
instrument/uno/CExcel.cpp~                deadline.setRemainingTime(qint64(m_office.nStartSeconds) * 1000);~                deadline.setRemainingTime(qint64(m_office.nStartSeconds) * 10000);~calc: an office that never answers waited for ten times too long~tst_CalcLink
LIST
)

killed=0
survived=()
failed=()
built=()
while IFS='~' read -r file original replacement name targets; do
  [[ -z "$file" ]] && continue
  [[ -n "$pattern" && "$name" != *"$pattern"* ]] && continue
  path="$root/$file"
  cp "$path" "$path.orig"
  trap 'mv -f "$path.orig" "$path"; exit 130' INT TERM
  if ! python3 - "$path" "$original" "$replacement" <<'PY'
import sys
path, original, replacement = sys.argv[1], sys.argv[2].replace('<NL>', '\n'), sys.argv[3].replace('<NL>', '\n')
text = open(path).read()
if text.count(original) != 1:
    sys.exit(1)
open(path, 'w').write(text.replace(original, replacement))
PY
  then
    failed+=("$name (does not apply)")
    mv -f "$path.orig" "$path"
    continue
  fi
  tests=$(tr ' ' '\n' <<<"$targets" | grep '^tst_' | paste -sd'|')
  built+=($targets)
  # shellcheck disable=SC2086 # one target per word
  if ! cmake --build "$build" -j2 --target $targets >/tmp/orvalis-mutate-build.log 2>&1; then
    failed+=("$name (does not build)")
  elif (cd "$build" && QT_QPA_PLATFORM=offscreen ctest -j2 --timeout 120 --stop-on-failure --no-tests=error -R "^($tests)\$" \
          >/tmp/orvalis-mutate-test.log 2>&1); then
    survived+=("$name")
    echo "survived: $name"
  else
    killed=$((killed + 1))
    echo "killed:   $name"
  fi
  mv -f "$path.orig" "$path"
  touch "$path"
  trap - INT TERM
done <<<"$mutants"

# Leave no program built from a fault behind: later test runs would fail
# for no reason.
if [[ ${#built[@]} -gt 0 ]]; then
  # shellcheck disable=SC2046 # one target per word
  cmake --build "$build" -j2 --target $(printf '%s\n' "${built[@]}" | sort -u) >/tmp/orvalis-mutate-build.log 2>&1 ||
    echo "rebuilding the unchanged tree failed: see /tmp/orvalis-mutate-build.log"
fi

total=$((killed + ${#survived[@]}))
echo
for name in "${failed[@]}"; do echo "not run: $name"; done
for name in "${survived[@]}"; do echo "survived: $name"; done
if [[ $total -gt 0 ]]; then
  echo "mutation score: $killed of $total killed ($((100 * killed / total)) %)"
fi
[[ ${#failed[@]} -eq 0 ]]
