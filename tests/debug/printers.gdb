# What debugPrintersTest.sh has gdb do with kelPrinterProgram.
set width 0
set height 0
set confirm off
set print address off
set print thread-events off
break stopHere
commands
    silent
    up-silently
end
run
info pretty-printer .*libkelinfra.*
info locals
print lone
set print elements 4
print inlineText
print heapText
print hugeText
print longUtf8
python
class Stranger:
    def __init__(self, value): pass
    def to_string(self): return "a stranger's"
def stranger(value):
    return Stranger(value) if value.type.name.endswith("::UnicodeString") else None
gdb.pretty_printers.append(stranger)
end
print inlineText
print heapText
disable pretty-printer global stranger
python gdb.pretty_printers.remove(stranger)
print inlineText
disable pretty-printer .*libkelinfra.* kelinfra;icu::UnicodeString
python print(gdb.default_visualizer(gdb.parse_and_eval("inlineText")))
enable pretty-printer .*libkelinfra.* kelinfra;icu::UnicodeString
continue
set print elements 200
info locals
set print elements 4
print list
print message
print manyArguments
print manyMessages
set print elements 2
print list
set print elements 200
generate-core-file messages.core
continue
info locals
continue
info locals
set print elements 4
print heapData
print bytes
set print elements 200
continue
print settings
print noSettings
print zero
print filled
set print elements 4
print many
set print elements 200
continue
info locals
continue
info locals
generate-core-file threads.core
continue
info locals
