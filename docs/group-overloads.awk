# Marks a comment and the declarations that follow it without a blank line as one group for Doxygen, so
# that the comment counts for all of them.

function flush_comment() {
  if (comment != "") printf "%s", comment
  comment = ""
}

/^[ \t]*\/\/\// && !in_group { comment = comment $0 "\n"; next }

comment != "" && !in_group {
  if ($0 ~ /;[ \t]*(\/\/.*)?$/ && $0 !~ /^[ \t]*(struct|class|namespace|private|public|protected)/) {
    printf "///@{\n"
    in_group = 1
  }
  flush_comment()
}

in_group && (/^[ \t]*$/ || /^[ \t]*(}|private:|public:|protected:|#)/) { printf "///@}\n"; in_group = 0 }

{ print }

END { flush_comment(); if (in_group) print "///@}" }
