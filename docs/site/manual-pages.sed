# In a text that becomes a page of the site, a manual page stands beside it as HTML.
s#\]\(([^)]*/)?(tanexics[a-z-]*\.[1-8])\)#](\2.html)#g
