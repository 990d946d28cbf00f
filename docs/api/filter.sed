# What Doxygen reads of a header: the comment at the top of a file describes the file, and samples of code, which are
# indented by three columns, are Markdown's code blocks.
1,/^[^\/]/ {
  1s|^// \{0,1\}|/// @file\n/// |
  s|^//\([^/]\)|///\1|
  s|^//$|///|
}
s|^\( *\)///   |\1///     |
