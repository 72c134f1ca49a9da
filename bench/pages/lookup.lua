local driver = require "luasql.sqlite3"
local body = io.read(tonumber(os.getenv("CONTENT_LENGTH") or 0)) or ""
local form = {}
local function decode(text)
  return (text:gsub("+", " "):gsub("%%(%x%x)", function(digits) return string.char(tonumber(digits, 16)) end))
end
for name, value in body:gmatch("([^&=]*)=([^&]*)") do form[decode(name)] = decode(value) end
local db = driver.sqlite3():connect(os.getenv("DATABASE"))
local account = string.format("%8s", (form.ACCOUNT or ""):match("^%s*(.-)%s*$"))
local found = db:execute("select firstname, middlename, lastname from user where userid = '" .. db:escape(account) .. "'")
local row = { found:fetch() }
local escapes = { ["&"] = "&amp;", ["<"] = "&lt;", [">"] = "&gt;", ['"'] = "&quot;" }
io.write("Content-type: text/html\n\n<HTML>\n<BODY>\n")
if row[1] then
  io.write((table.concat(row, " "):gsub('[&<>"]', escapes)), "<BR>\n")
else
  io.write("Sorry, your account is not in our database...yet!\nBut as long as you're here, why not\n",
    '<A HREF="#example2">register</A>\n to take advantage of these <EM>great</EM> offers?\n')
end
io.write("</BODY>\n</HTML>\n")
