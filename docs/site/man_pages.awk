# Makes a manual page for each flat call from doxygen's page of its header.
#
#   awk -v page=NAME -v folder=FOLDER -f man_pages.awk HEADER_PAGE
#
# page is the name of the header's page without its section, and folder gets the new pages.

/^\.TH/ {
    heading = $0
    header = $2
    gsub(/"|\\/, "", header)
}
/^\.SH/ {
    end_page()
    in_functions = /Function Documentation/
}
/^\.SS/ && in_functions {
    end_page()
    begin_page()
    next
}
file { body = body $0 "\n" }
END { end_page() }

# Begins the page of the call whose prototype the line has.
function begin_page() {
    prototype = $0
    sub(/^\.SS "/, "", prototype)
    sub(/"$/, "", prototype)
    name = prototype
    sub(/ *\(.*/, "", name)
    sub(/.*[ *]/, "", name)
    gsub(/\\f.|\\/, "", name)
    file = folder "/" name ".3verrick"
    body = ""
}

# Writes the page that was begun. Its short description is the first sentence of the description.
function end_page(    brief) {
    if (!file) {
        return
    }
    sub(/^(\n|\.PP\n)+/, "", body)
    brief = body
    sub(/\n.*/, "", brief)
    sub(/\\&\. .*|\\&\.$/, "", brief)
    sub(/\.TH "[^"]*"/, ".TH \"" name "\"", heading)
    print heading "\n.ad l\n.nh" >file
    print ".SH NAME\n" name " \\- " brief >file
    print ".SH SYNOPSIS\n.nf\n#include <" header ">\n.fi\n.PP\n" prototype >file
    print ".SH DESCRIPTION\n" body ".SH \"SEE ALSO\"\n" page "(3verrick)" >file
    close(file)
    file = ""
}
