// The conversions as a JScript host sees them; it passes everything by value.
var failures = 0;

function check(what, got, expected) {
  if (got === expected) return;
  failures++;
  WScript.Echo("FAILED " + what + ": " + got + ", expected " + expected);
}

function codes(bytes) {
  var result = "";
  for (var i = 0; i < bytes.length; i++) result += bytes.charCodeAt(i) + " ";
  return result;
}

function error_of(action) {
  try {
    action();
  } catch (e) {
    return (e.number & 0xFFFF) + " " + e.description;
  }
  return "none";
}

var link = new ActiveXObject("Plexum.PlexumLink.1");
check("number", codes(link.wordtobeyt(300.6)), "1 45 ");
var value = "70000";
check("double word", codes(link.dwordtobeyt(value)), "0 1 17 112 ");
check("its variable", value, "70000");
check("error", error_of(function () { link.wordtobeyt("x"); }), "13 Type mismatch");
link.Tzeit = 250;
check("property", link.Tzeit, 250);
link.s7init = true;
check("state variable", link.s7init, true);
check("exit", link.ag_exit(), true);
WScript.Echo("END: " + failures + " failures");
WScript.Quit(failures);
