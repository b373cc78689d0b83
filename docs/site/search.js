// Answers the search page of doxygen from the words in search_words.js, in place of a server. The
// search itself is lunr's.
const answerSearch = (() => {
    // Names like DTimeManager::GetInstance(priority) are found by each of their parts.
    lunr.tokenizer.separator = /[\s\-:(),.*&]+/;
    const index = lunr(function () {
        this.ref("url");
        this.field("name", { boost: 10 });
        this.field("text");
        searchWords.forEach((entry) => {
            // A page of the guide says more about a word than the mention of it in one call.
            this.add(entry, { boost: entry.type === "page" ? 5 : 1 });
        });
    });
    const entries = new Map(searchWords.map((entry) => [entry.url, entry]));

    function find(text) {
        const words = lunr.tokenizer(text.toLowerCase()).map(String);
        return index.query((query) => {
            words.forEach((word) => {
                query.term(lunr.stemmer(new lunr.Token(word)).toString(), { boost: 10 });
                query.term(word, { wildcard: lunr.Query.wildcard.TRAILING });
            });
        });
    }

    // The words around the first place where the text has one of the words sought.
    function excerpt(entry, text) {
        const at = text.toLowerCase().split(/\s+/)
            .map((word) => entry.text.toLowerCase().indexOf(word))
            .filter((place) => place >= 0);
        const start = entry.text.lastIndexOf(" ", Math.max(0, Math.min(...at, Infinity) - 60)) + 1;
        return escapeHtml(entry.text.substr(at.length > 0 ? start : 0, 200)) + " ...";
    }

    return (text, page, count) => {
        const found = find(text);
        const shown = found.slice(page * count, (page + 1) * count);
        return {
            hits: found.length,
            first: page * count,
            page: page,
            pages: Math.ceil(found.length / count),
            items: shown.map((match) => {
                const entry = entries.get(match.ref);
                return { ...entry, fragments: [excerpt(entry, text)] };
            }),
        };
    };
})();

// The search page asks its server in this way alone.
$.getJSON = (url, request, show) => show(answerSearch(request.q, request.p, request.n));
