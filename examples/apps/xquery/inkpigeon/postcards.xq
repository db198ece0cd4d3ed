xquery version "3.1";

(: Postcards, sent and waiting, with addressees and the sender. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $analyzers as xs:string external;

declare function local:sent($card as element(card)) as element(postcard) {
  <postcard state="sent" stamp="{ $card/@stamp }">{
    ev:attribute("id", $card/@id),
    ev:origin($card),
    ev:element("time", $card/@sent),
    ev:element("to", $card/to),
    ev:element("text", string-join($card/message//line, "&#10;")),
    for $picture in $card/picture//record[@kind = "picture"]
    return ev:element("picture", ev:field($picture, "path"))
  }</postcard>
};

declare function local:waiting($card as element(record)) as element(postcard) {
  <postcard state="waiting" stamp="{ ev:field($card, 'stamp') }">{
    ev:attribute("id", $card/@id),
    ev:origin($card),
    ev:element("time", ev:field($card, "written")),
    ev:element("to", ev:field($card, "recipient")),
    ev:element("text", ev:field($card, "message"))
  }</postcard>
};

<results kind="postcard">{
  for $settings in ev:trees($evidence, "settings")
  return
    <sender>{
      ev:element("name", ev:node($settings, "Sender/Name")),
      ev:element("phone", ev:node($settings, "Sender/Telephone"))
    }</sender>,
  for $source in $evidence//source[@analyzer = tokenize($analyzers)]
  return (
    $source/cards/card ! local:sent(.),
    $source/record[@kind = "postcard"] ! local:waiting(.)
  ),
  for $person in ev:records($evidence, "addressees", "addressee")
  return
    <addressee id="{ $person/@id }">{ ev:field($person, "address") }</addressee>
}</results>
