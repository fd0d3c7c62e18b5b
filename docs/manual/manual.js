// Search, the choice between dark and light, and the current page in the contents. All pages read well without.
(function () {
  "use strict";
  var root = document.body.dataset.root;
  var html = document.documentElement;

  // --- dark or light
  document.getElementById("theme").addEventListener("click", function () {
    var dark = html.classList.contains("dark") ||
        (!html.classList.contains("light") && matchMedia("(prefers-color-scheme: dark)").matches);
    html.classList.remove("dark", "light");
    html.classList.add(dark ? "light" : "dark");
    try { localStorage.setItem("kelinfra-theme", dark ? "light" : "dark"); } catch (e) { /* not remembered then */ }
  });

  // --- contents
  var page = location.pathname.split("/").pop() || "index.html";
  document.querySelectorAll(".contents-list a").forEach(function (link) {
    if (link.getAttribute("href").split("/").pop() === page) {
      link.setAttribute("aria-current", "page");
      var list = link.closest(".contents-list");
      list.scrollTop = link.offsetTop - list.clientHeight / 2;
    }
  });

  // --- search
  var input = document.getElementById("search");
  var results = document.getElementById("results");
  var KINDS = { "class": "class", struct: "class", page: "page", section: "section", "function": "operation",
    variable: "constant", "enum": "enumeration", enumvalue: "value", typedef: "type", define: "macro",
    namespace: "namespace" };

  function withIndex(then) {
    if (window.manualIndex) { then(); return; }
    var script = document.createElement("script");
    script.src = root + "search-index.js";
    script.onload = then;
    document.head.appendChild(script);
  }

  // "time-out" and "timeout" are the same word.
  function plain(text) { return text.toLowerCase().replace(/-/g, ""); }

  // How well an entry [title, kind, place, page, text] fits; 0 when a word is missing.
  function rank(entry, words) {
    var title = plain(entry[0]), name = title.replace(/\(\)$/, "").split("::").pop();
    var text = plain(entry[4]), sum = 0;
    for (var i = 0; i < words.length; i++) {
      var word = words[i], points = 0;
      if (name === word || title === word) { points = 100; }
      else if (name.indexOf(word) === 0) { points = 60; }
      else if (title.indexOf(word) >= 0) { points = 40; }
      else if (text.indexOf(word) >= 0) { points = 5 + Math.min(5, text.split(word).length - 1); }
      if (points === 0) { return 0; }
      sum += points;
    }
    return sum + (entry[1] === "class" ? 12 : entry[1] === "page" ? 10 : entry[1] === "section" ? 4 : 0);
  }

  function excerpt(text, word) {
    var at = Math.max(0, text.toLowerCase().indexOf(word));
    var from = at < 60 ? 0 : text.indexOf(" ", at - 50) + 1;
    return (from > 0 ? "… " : "") + text.slice(from, from + 150) + (text.length > from + 150 ? " …" : "");
  }

  function element(name, text, parent) {
    var made = document.createElement(name);
    made.textContent = text;
    parent.appendChild(made);
    return made;
  }

  function show() {
    var words = plain(input.value).split(/[\s:()]+/).filter(Boolean);
    results.textContent = "";
    results.hidden = words.length === 0;
    if (words.length === 0) { return; }
    var found = window.manualIndex.map(function (entry) { return [rank(entry, words), entry]; })
        .filter(function (pair) { return pair[0] > 0; })
        .sort(function (a, b) { return b[0] - a[0] || a[1][0].length - b[1][0].length; }).slice(0, 30);
    if (found.length === 0) { element("p", "Nothing has all of these words.", results); return; }
    var list = element("ol", "", results);
    found.forEach(function (pair) {
      var entry = pair[1], link = element("a", "", element("li", "", list));
      link.href = root + entry[2];
      element("b", entry[0], link);
      var where = entry[1] === "section" ? entry[3] : KINDS[entry[1]] || entry[1];
      element("small", "  " + where, link);
      element("span", excerpt(entry[4], words[0]), link);
    });
  }

  function search() { withIndex(show); }
  function close() { results.hidden = true; }
  input.addEventListener("input", search);
  input.addEventListener("focus", function () { withIndex(function () { if (input.value) { show(); } }); });
  document.addEventListener("click", function (event) { if (!event.target.closest(".search")) { close(); } });
  results.addEventListener("click", close);
  document.querySelector(".search").addEventListener("keydown", function (event) {
    var links = Array.prototype.slice.call(results.querySelectorAll("a"));
    var at = links.indexOf(document.activeElement);
    if (event.key === "Escape") { close(); input.blur(); }
    else if (event.key === "ArrowDown" && at + 1 < links.length) { links[at + 1].focus(); event.preventDefault(); }
    else if (event.key === "ArrowUp" && at >= 0) { (links[at - 1] || input).focus(); event.preventDefault(); }
    else if (event.key === "Enter" && at < 0 && links.length > 0) { links[0].click(); }
  });
  document.addEventListener("keydown", function (event) {
    if (event.key === "/" && !/^(INPUT|TEXTAREA)$/.test(document.activeElement.tagName)) {
      input.focus();
      event.preventDefault();
    }
  });
  var asked = new URLSearchParams(location.search);
  if (asked.has("q")) { input.value = asked.get("q"); search(); }
  if (/^(dark|light)$/.test(asked.get("theme") || "")) {
    html.classList.remove("dark", "light");
    html.classList.add(asked.get("theme"));
  }
})();
