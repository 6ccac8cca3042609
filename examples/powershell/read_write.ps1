# Writes to and reads from data block 10 of a PLC.
#
#   powershell -File read_write.ps1 [-Address A] [-Port P] [-OwnTsap T] [-PlcTsap T]
#
# 64-bit PowerShell needs the 64-bit control, the one below SysWOW64 the 32-bit one.
param(
    [string]$Address = '127.0.0.1',
    [string]$Port = '102',
    [string]$OwnTsap = '1.0',
    [string]$PlcTsap = '3.2'
)
$ErrorActionPreference = 'Stop'

# A byte string has one character for each byte, by the system's ANSI code page.
if ($PSVersionTable.PSEdition -eq 'Core') {
    [Text.Encoding]::RegisterProvider([Text.CodePagesEncodingProvider]::Instance)
}
$bytes = [Text.Encoding]::GetEncoding(0)
if (-not $bytes.IsSingleByte) { $bytes = [Text.Encoding]::GetEncoding(28591) }

# What a write came to. Most jobs refuse to start while an error stands in err.
function Show-Write($what, $done) {
    if ($done) {
        "${what}: written"
    } else {
        "${what}: refused, err $($plc.err)"
        $plc.err = 0
    }
}

$plc = New-Object -ComObject Plexum.PlexumLink
try {
    $plc.Tzeit = 1000   # slices of up to a millisecond each
    if (-not $plc.ag_ini($Address, $Port, $OwnTsap, $PlcTsap)) {
        "no connection to $Address, err $($plc.err)"
        exit 1
    }
    "connected to $Address"
    Show-Write 'word 4660 at byte 0' ($plc.ag_WriteW('10', '0', '4660', 'D'))
    $text = $bytes.GetString([byte[]](0x41, 0x80, 0xFF))
    Show-Write '3 bytes at byte 20' ($plc.ag_WriteMB('10', '20', $text, 'D'))

    $text = $plc.ag_ReadB('10', '3', '20', 'C', 'D')
    if ($plc.err -eq 0) { 'bytes read: ' + [BitConverter]::ToString($bytes.GetBytes($text)) }
    $words = $plc.ag_ReadB('10', '2', '0', 'W', 'D')
    if ($plc.err -eq 0) { foreach ($word in $words) { "word read: $word" } }
} finally {
    [void]$plc.ag_exit()
    [void][Runtime.InteropServices.Marshal]::FinalReleaseComObject($plc)
    'disconnected'
}
