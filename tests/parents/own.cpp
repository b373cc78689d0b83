// The parent's own library.
char const* Greeting() {
    return "the library's version is";
}
