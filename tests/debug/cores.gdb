# The same from the core files that printers.gdb writes.
set width 0
set height 0
set print address off
core-file messages.core
up-silently
info locals
core-file threads.core
up-silently
info locals
