# The shortest careful host: writes a word into data block 10 and reads it back.
#   powershell -File first.ps1 ADDRESS PORT
param([string]$Address, [string]$Port)
$plc = New-Object -ComObject Plexum.PlexumLink
$plc.Tzeit = 1000                                  # time-out, in slices of up to a millisecond
if ($plc.ag_ini($Address, $Port, '1.0', '3.2')) {
    if ($plc.ag_WriteW('10', '0', '4660', 'D')) {  # DB 10, byte 0; numbers go in as texts
        $words = $plc.ag_ReadB('10', '2', '0', 'W', 'D')  # 2 bytes from byte 0, as words
        if ($plc.err -eq 0) { foreach ($word in $words) { "read back: $word" } }
    }
}
if ($plc.err -ne 0) { "err $($plc.err)" }
[void]$plc.ag_exit()                               # a PLC has few connections: close them
