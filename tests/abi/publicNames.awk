# Turns the list of exported names into a source that compiles only if each of them is declared in a
# public header and accessible to a program: awk -f publicNames.awk publicHeaders.txt exportedNames.txt
BEGIN { print "#include <type_traits>" }

FILENAME ~ /publicHeaders/ {
    if ($0 !~ /kelExport/)
        print "#include <infra/" $0 ">"
    next
}

function check(statement) {
    if (!(statement in seen))
        print statement
    seen[statement] = 1
}

# Tables of a class stand for the class.
/^(vtable|typeinfo|typeinfo name) for / {
    sub(/^.* for /, "")
    check("static_assert(sizeof(" $0 ") != 0);")
    next
}

{
    gsub(/\[abi:cxx11\]/, "")
    # Scope, last name and arguments: nx::oss::Message | setFileName | (char const*)
    name = $0
    arguments = ""
    if (match(name, /\(/)) {
        arguments = substr(name, RSTART)
        name = substr(name, 1, RSTART - 1)
    }
    match(name, /(.*::)?/)
    scope = substr(name, 1, RLENGTH - 2)
    last = substr(name, RLENGTH + 1)
    class_name = scope
    sub(/<.*/, "", class_name)
    sub(/.*::/, "", class_name)
}

scope == "" || scope == "nx::oss" || scope == "nx::util" {
    check("namespace probe { using " scope "::" last "; }")
    next
}

last == "~" class_name {
    check("static_assert(std::is_destructible_v<" scope ">);")
    next
}

last == class_name {
    sub(/^\(/, "", arguments)
    sub(/\)$/, "", arguments)
    check("static_assert(std::is_constructible_v<" scope (arguments == "" ? "" : ", ") arguments ">);")
    next
}

# One member, all overloads of it: none of them may be private.
!((scope, last) in seen) {
    print "struct Member" NR " : " scope " { using " scope "::" last "; };"
    seen[scope, last] = 1
}
