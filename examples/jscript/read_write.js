// Writes to and reads from data block 10 of a PLC.
//
//   cscript //nologo read_write.js [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
//
// Without arguments: 127.0.0.1, port 102, own TSAP 1.0, the PLC's 3.2 (rack 0, slot 2).

function argument(index, otherwise) {
  return WScript.Arguments.length > index ? WScript.Arguments(index) : otherwise;
}

// JScript's characters are Unicode, those of a byte string are bytes by the system's code page. The
// control knows both: wordtobeyt makes a byte's character, xor_str a character's byte.
function textOf(link, bytes) {
  var text = "";
  for (var i = 0; i < bytes.length; i++) text += link.wordtobeyt(String(bytes[i])).charAt(1);
  return text;
}

function bytesOf(link, text) {
  var bytes = [];
  for (var i = 0; i < text.length; i++) bytes.push(link.xor_str(text.charAt(i)));
  return bytes;
}

// What a write came to. Most jobs refuse to start while an error stands in err.
function report(link, what, done) {
  WScript.Echo(what + (done ? ": written" : ": refused, err " + link.err));
  if (!done) link.err = 0;
}

function main(link) {
  var address = argument(0, "127.0.0.1");
  link.Tzeit = 1000; // slices of up to a millisecond each
  if (!link.ag_ini(address, argument(1, "102"), argument(2, "1.0"), argument(3, "3.2"))) {
    WScript.Echo("no connection to " + address + ", err " + link.err);
    return 1;
  }
  WScript.Echo("connected to " + address);

  report(link, "word 4660 at byte 0", link.ag_WriteW("10", "0", "4660", "D"));
  report(link, "3 bytes at byte 20", link.ag_WriteMB("10", "20", textOf(link, [65, 128, 255]), "D"));
  report(link, "byte in a missing block", link.ag_WriteB("99", "0", textOf(link, [1]), "D"));

  var text = link.ag_ReadB("10", "3", "20", "C", "D");
  WScript.Echo("bytes read: " + (link.err === 0 ? bytesOf(link, text).join(" ") : "err " + link.err));
  // ag_ReadB: the arrays of Double that ag_Read makes are closed to JScript.
  var words = new VBArray(link.ag_ReadB("10", "2", "0", "W", "D"));
  WScript.Echo("word read: " + words.getItem(1));
  return 0;
}

var link = new ActiveXObject("Plexum.PlexumLink");
var code = 2;
try {
  code = main(link);
} catch (error) { // a number that doesn't fit, a time-out without any answer, a lost connection
  WScript.Echo("run-time error " + (error.number & 0xFFFF) + ": " + error.description);
}
link.ag_exit();
link = null;
WScript.Echo("disconnected");
WScript.Quit(code);
