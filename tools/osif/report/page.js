'use strict';
// The page shows everything without this script. What it adds: a search among the contacts, and one month of the
// calendar at a time.
(() => {
  const byId = id => document.getElementById(id);

  // ---- Contacts --------------------------------------------------------------------------------------------

  // More are not laid out at once.
  const mostShown = 200;

  // Letters without accents and case: "mussig" finds "Müßig", whose "ß" is "SS" in upper case.
  const folded = text => text.normalize('NFD').replace(/\p{M}/gu, '').toUpperCase().toLowerCase();

  // Numbers are found however they are written: "5550170" in "+1 555 0170".
  const wordsOf = item => {
    const text = folded(item.textContent);
    return text + '\n' + text.replace(/(?<=\d)[\s().\/-]+(?=\d)/g, '');
  };

  const startSearch = () => {
    const field = byId('wanted');
    if (!field) return;
    const section = byId('contacts');
    const items = [...section.querySelectorAll('.letter li')];
    let texts = null;

    const tell = (count, wanted) => {
      const found = byId('found');
      if (!wanted) found.textContent = '';
      else if (count === 0) found.textContent = 'No contact found.';
      else if (count === 1) found.textContent = '1 contact found.';
      else if (count <= mostShown) found.textContent = count + ' contacts found.';
      else found.textContent = count + ' contacts found; the first ' + mostShown + ' are shown.';
    };

    // A list, and a letter, of which nothing is left goes with its items.
    const hideEmpty = selector => {
      for (const part of section.querySelectorAll(selector)) {
        part.hidden = !part.querySelector('li:not([hidden])');
      }
    };

    const search = () => {
      const words = folded(field.value).split(/\s+/).filter(word => word);
      texts = texts || items.map(wordsOf);
      let count = 0;
      items.forEach((item, i) => {
        const matches = words.every(word => texts[i].includes(word));
        if (matches) ++count;
        item.hidden = words.length > 0 && (!matches || count > mostShown);
      });
      section.classList.toggle('searching', words.length > 0);
      hideEmpty('.portion');
      hideEmpty('.letter');
      tell(count, words.length > 0);
    };

    field.addEventListener('input', search);
    byId('search').hidden = false;
    // A browser that comes back to the page keeps what was typed.
    if (field.value) search();
  };

  // ---- Calendar --------------------------------------------------------------------------------------------

  const startMonths = () => {
    const months = [...document.querySelectorAll('.month')];
    const previous = byId('previous-month');
    const next = byId('next-month');
    let shown = months.findIndex(month => month.classList.contains('first-shown'));

    const show = () => {
      months.forEach((month, i) => { month.hidden = i !== shown; });
      // A button that cannot be used keeps the focus.
      previous.setAttribute('aria-disabled', String(shown === 0));
      next.setAttribute('aria-disabled', String(shown === months.length - 1));
    };

    const go = step => {
      const wanted = shown + step;
      if (wanted < 0 || wanted >= months.length) return;
      shown = wanted;
      show();
      byId('shown-month').textContent = months[shown].querySelector('h3').textContent;
    };

    previous.addEventListener('click', () => go(-1));
    next.addEventListener('click', () => go(1));
    byId('months').hidden = false;
    show();
  };

  startSearch();
  startMonths();
})();
