// Settles a loaded page before it is measured or captured: waits for fonts and
// for every image to decode; a broken image is no reason to fail the page.
// Reading offsetHeight forces the layout first. Evaluated as an expression
// whose promise the caller awaits.

(async () => {
  void (document.body && document.body.offsetHeight);
  await document.fonts.ready;
  await Promise.all(Array.from(document.images, (img) => img.decode().catch(() => {})));
  void (document.body && document.body.offsetHeight);
})();
